#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace txccl {

/// Room for the context of libcrypto, whose headers would otherwise be included here.
struct sha1_context {
    alignas(8) unsigned char state[96];
};

/// The steps of a SHA-1: begin, hash bytes any number of times, end.
void sha1_begin(sha1_context& context) noexcept;
void sha1_hash(sha1_context& context, const unsigned char* data, std::size_t length) noexcept;
/// Writes the 20 bytes of the digest to `digest` and ends the use of `context`.
void sha1_end(sha1_context& context, unsigned char* digest) noexcept;

/// A SHA-1 fingerprint: update with bytes, close, read the digest. Every `unsigned char*` that is handed out holds
/// SIGNATURE_SIZE bytes and belongs to the caller, who releases it with free_binary.
class Signature {
public:
    static constexpr int SIGNATURE_SIZE = 20;
    static constexpr int STRING_SIGNATURE_SIZE = 40;

    /// Something whose content has a fingerprint.
    class SignableObject {
    public:
        SignableObject() = default;
        SignableObject(const SignableObject&) = default;
        SignableObject(SignableObject&&) = default;
        SignableObject& operator=(const SignableObject&) = default;
        SignableObject& operator=(SignableObject&&) = default;
        virtual ~SignableObject();
        /// The digest of the content, which the caller owns; null for none.
        virtual unsigned char* binary_signature() = 0;
    };

    Signature();
    Signature(const Signature&) = delete;
    Signature& operator=(const Signature&) = delete;
    ~Signature();

    /// Adds bytes; ignored once closed.
    void update(const unsigned char* data, unsigned int length);
    /// Ends the input; a second call does nothing.
    void close();
    /// Returns: the digest, or null while the signature is open.
    unsigned char* to_binary() const;
    /// Returns: the digest as 40 lowercase hexadecimal digits, or an empty text while the signature is open.
    std::string to_string() const;

    /// The digest of the given bytes; without arguments, of no bytes.
    static unsigned char* binary(const unsigned char* data, unsigned int length);
    static unsigned char* binary(const std::string& text);
    static unsigned char* binary();
    static void free_binary(unsigned char* digest) noexcept;

    /// The same as 40 hexadecimal digits. A null object gives the signature of no bytes.
    static std::string of(const unsigned char* data, unsigned int length);
    static std::string of(const std::string& text);
    static std::string of();
    static std::string of(SignableObject* object);

private:
    static std::string hexify(const unsigned char* digest);

    int m_closed = 0;
    sha1_context m_context;
    std::unique_ptr<unsigned char[]> m_digest;
};

} // namespace txccl
