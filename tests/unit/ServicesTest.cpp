#include "Mis/BinStrm.h"
#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/OutputFile.h"
#include "Mis/Unix/Room.h"
#include "Mis/Unix/Synchronise.h"
#include "Mis/Unix/SysClientUnix.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "Mis/Unix/WholeFile.h"
#include "Mis/VError.h"
#include "classlib/File.h"
#include "classlib/FilenameHelper.h"
#include "classlib/Signature.h"
#include "classlib/String.h"
#include "tests/support/Calls.h"
#include "tests/support/TempDir.h"

#include <cerrno>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
namespace text = txccl::string;
using txccl::Signature;
using S = const std::string&;

TEST(Streams, ReadAndWriteAndTellWhyNot) {
    VBinaryStream stream;
    unsigned char bytes[100000] = {};
    const Calls calls = {
        {"open", [&](const char* file, int mode) { stream.Open(file, static_cast<VBinaryStream::AccessMode>(mode)); }},
        {"takeOver", [&](const char* file) { stream.Open(Descriptor(open(file, O_RDWR)), file); }},
        {"close", [&] { stream.Close(); }},
        {"flush", [&] { stream.Flush(); }},
        {"closeUnderneath", [&] { return close(stream.GetDescriptor()); }},
        {"abandon", [](const char* file) { VBinaryStream().Open(file, VBinaryStream::WriteMode); }},
        {"int16",
         [&] {
             unsigned short value = 7;
             stream.ReadInt16(value);
             return value;
         }},
        {"int32",
         [&](int size) {
             unsigned value = ~0U;
             stream.ReadInt32(value, size);
             return value;
         }},
        {"read",
         [&](unsigned size) {
             stream.ReadBytes(bytes, size);
             return std::string(bytes, bytes + size);
         }},
        {"readRaw", [&](unsigned size) { return std::string(bytes, bytes + stream.ReadRawData(bytes, size)); }},
        {"readNull", [&] { return stream.ReadRawData(nullptr, 0); }},
        {"put",
         [&](std::string text) {
             std::copy(text.begin(), text.end(), bytes);
             return stream.WriteRawData(bytes, unsigned(text.size()));
         }},
        {"putAll", [&] { return stream.WriteRawData(bytes, sizeof bytes) == sizeof bytes; }},
    };
    MakeCalls("Streams", calls);
}

TEST(Files, AreWrittenComparedAndDeleted) {
    const Calls calls = {
        {"save", [](S file, S text) { return sys_writeFile(file, text); }},
        {"saveMuch", [](S file, std::size_t size) { return sys_writeFile(file, std::string(size, 'x')); }},
        {"openOutput", [](S file) { return sys_openOutput(file, O_WRONLY, 0600).file.IsOpen(); }},
        {"chain",
         [](int links) {
             for (int i = 1; i <= links; ++i)
                 fs::create_symlink(std::to_string(i - 1), std::to_string(i));
         }},
        {"same", sys_holdsSame},
        {"isSameEntry", sys_isSameEntry},
        {"leadsThrough", sys_leadsThrough},
        {"isFile", [](S path, S file) { return sys_isSameFile(path, file, FileStatus()); }},
        {"makePath", CreateUnixPath},
        {"makeDirectory",
         [](const char* path, bool isNamed, bool hasHeader) {
             char name[100] = "before";
             const int result = dsk_credir(nullptr, path, 0, hasHeader ? name : nullptr, isNamed ? name : nullptr, 0);
             return std::to_string(result) + ' ' + name;
         }},
        {"delete", sys_delete},
        {"keepRoom",
         [](const char* file, off_t from, off_t size) {
             return fallocate(Descriptor(open(file, O_RDWR)).Number(), FALLOC_FL_KEEP_SIZE, from, size);
         }},
        {"reserve",
         [](const char* path, off_t size) {
             const Descriptor file(open(path, O_RDWR));
             errno = EIO; // an earlier error is none
             return sys_synchronise(file.Number()) && sys_reserve(file.Number(), FileStatus::Of(path), size);
         }},
        {"allocated", [](S file) { return FileStatus::Of(file).Allocated(); }},
        {"hasEntry", txccl::File::exists},
        {"stdOpens", [](const char* file, const char* mode) { return sys_fopen(file, mode, 0) != nullptr; }},
        {"error", [] { return errno; }},
        {"systemError",
         [] {
             const std::unique_ptr<VI18NError> error(getSystemError());
             return error ? error->what() : "none";
         }},
    };
    MakeCalls("Files", calls);
    EXPECT_EQ(prs_getprogramsdir(), fs::read_symlink("/proc/self/exe").parent_path() / "");
}

TEST(Node, HasAShortName) {
    if (unshare(CLONE_NEWUTS) != 0) {
        GTEST_SKIP() << "the name cannot be changed here";
    }
    const std::string longest(64, 'n');
    for (const auto& [full, name] :
         {std::pair<std::string, std::string>("a.b.c", "a"), {".", ""}, {longest, longest}}) {
        EXPECT_EQ(sethostname(full.data(), full.size()), 0);
        char node[65] = "?";
        EXPECT_EQ(sys_getnodename(node, 0), 1);
        EXPECT_EQ(node, name);
    }
}

/// The bytes of a signature, which it takes over.
std::string Bytes(unsigned char* binary) {
    std::string bytes = binary == nullptr ? "none" : std::string(binary, binary + Signature::SIGNATURE_SIZE);
    Signature::free_binary(binary);
    return bytes;
}

TEST(Classlib, TextsPathsAndSignatures) {
    Signature signature;
    const Calls calls = {
        {"crop", text::Crop},
        {"cropEnd", text::CropEnd},
        {"split", [](std::string text, char at) { return text::Join(text::Split(text, at), "|"); }},
        {"equal", text::EqualIgnoringCase},
        {"number", text::LeadingNumber},
        {"join", txccl::FilenameHelper::join},
        {"update", [&](S text) { signature.update(reinterpret_cast<const unsigned char*>(text.data()), 2); }},
        {"close", [&] { signature.close(); }},
        {"text", [&] { return signature.to_string(); }},
        {"binary", [&] { return Bytes(signature.to_binary()); }},
        {"of", [](S text) { return Signature::of(text); }},
        {"ofNothing", [] { return Signature::of(); }},
        {"ofNull", [] { return Signature::of(static_cast<Signature::SignableObject*>(nullptr)); }},
        {"binaryOf", [](S text) { return Bytes(Signature::binary(text)); }},
        {"textSize", [] { return int{Signature::STRING_SIGNATURE_SIZE}; }},
        {"binaryOfNothing", [] { return Bytes(Signature::binary()); }},
    };
    MakeCalls("Classlib", calls);
}

} // namespace
