// The low-level SHA-1 calls are deprecated, but they cannot fail, and they need none of the providers that libcrypto's
// newer interface loads on first use.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "classlib/Signature.h"

#include <algorithm>
#include <new>
#include <type_traits>

#include <openssl/sha.h>

namespace txccl {

namespace {

static_assert(sizeof(sha1_context) >= sizeof(SHA_CTX) && alignof(sha1_context) >= alignof(SHA_CTX));
static_assert(std::is_trivially_copyable_v<SHA_CTX>);
static_assert(Signature::SIGNATURE_SIZE == SHA_DIGEST_LENGTH);

SHA_CTX* State(sha1_context& context) noexcept {
    return std::launder(reinterpret_cast<SHA_CTX*>(context.state));
}

} // namespace

void sha1_begin(sha1_context& context) noexcept {
    SHA1_Init(new (context.state) SHA_CTX);
}

void sha1_hash(sha1_context& context, const unsigned char* data, std::size_t length) noexcept {
    SHA1_Update(State(context), data, length);
}

void sha1_end(sha1_context& context, unsigned char* digest) noexcept {
    SHA1_Final(digest, State(context));
}

Signature::SignableObject::~SignableObject() = default;

Signature::Signature() : m_context() {
    sha1_begin(m_context);
}

Signature::~Signature() = default;

void Signature::update(const unsigned char* data, unsigned int length) {
    if (m_closed == 0) {
        sha1_hash(m_context, data, length);
    }
}

void Signature::close() {
    if (m_closed != 0) {
        return;
    }
    m_digest = std::make_unique<unsigned char[]>(SIGNATURE_SIZE);
    sha1_end(m_context, m_digest.get());
    m_closed = 1;
}

unsigned char* Signature::to_binary() const {
    if (m_digest == nullptr) {
        return nullptr;
    }
    auto copy = std::make_unique<unsigned char[]>(SIGNATURE_SIZE);
    std::copy_n(m_digest.get(), SIGNATURE_SIZE, copy.get());
    return copy.release();
}

std::string Signature::to_string() const {
    return hexify(m_digest.get());
}

unsigned char* Signature::binary(const unsigned char* data, unsigned int length) {
    Signature signature;
    signature.update(data, length);
    signature.close();
    return signature.to_binary();
}

unsigned char* Signature::binary(const std::string& text) {
    Signature signature;
    sha1_hash(signature.m_context, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    signature.close();
    return signature.to_binary();
}

unsigned char* Signature::binary() {
    return binary(nullptr, 0);
}

void Signature::free_binary(unsigned char* digest) noexcept {
    delete[] digest;
}

std::string Signature::of(const unsigned char* data, unsigned int length) {
    const std::unique_ptr<unsigned char[]> digest(binary(data, length));
    return hexify(digest.get());
}

std::string Signature::of(const std::string& text) {
    const std::unique_ptr<unsigned char[]> digest(binary(text));
    return hexify(digest.get());
}

std::string Signature::of() {
    return of(nullptr, 0);
}

std::string Signature::of(SignableObject* object) {
    if (object == nullptr) {
        return of();
    }
    const std::unique_ptr<unsigned char[]> digest(object->binary_signature());
    return hexify(digest.get());
}

std::string Signature::hexify(const unsigned char* digest) {
    if (digest == nullptr) {
        return {};
    }
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(STRING_SIGNATURE_SIZE);
    for (int i = 0; i < SIGNATURE_SIZE; ++i) {
        text += digits[digest[i] >> 4];
        text += digits[digest[i] & 15];
    }
    return text;
}

} // namespace txccl
