#include "Mis/BinStrm.h"
#include "Mis/Log.h"
#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/SysClientUnix.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "Mis/VError.h"
#include "classlib/File.h"
#include "classlib/FilenameHelper.h"
#include "classlib/Signature.h"
#include "classlib/String.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <functional>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
namespace text = txccl::string;
using txccl::FilenameHelper;
using txccl::Signature;
using M = VBinaryStream;

/// What `action` throws, and its cause.
std::string Thrown(const std::function<void()>& action) {
    try {
        action();
    } catch (VError*) {
        const auto error = err_caught();
        auto* cause = dynamic_cast<VI18NError*>(error->GetChildError());
        return dynamic_cast<VI18NError&>(*error).what() + (cause == nullptr ? "" : " < " + cause->what());
    }
    return "nothing";
}

TEST(BinaryStream, OpenFailures) {
    const TempDir dir;
    fs::create_symlink(dir / "nowhere", dir / "dangling");
    const std::tuple<std::string, M::AccessMode, const char*> cases[] = {
        {dir / "no", M::ReadMode, "BSTR-E-4166: "},         {"", M::ReadMode, "BSTR-E-4144: "},
        {dir / "no/x", M::WriteMode, "BSTR-E-4145: "},      {dir / "no/x", M::UpdateMode, "BSTR-E-4145: "},
        {dir / "dangling", M::UpdateMode, "BSTR-E-4145: "},
    };
    VBinaryStream stream;
    for (const auto& item : cases) {
        errno = ENOENT;
        EXPECT_EQ(Thrown([&] { stream.Open(std::get<0>(item).c_str(), std::get<1>(item)); }),
                  std::get<2>(item) + std::get<0>(item));
    }
    EXPECT_EQ(Thrown([&] { stream.Open((dir / "new").c_str(), M::UpdateMode); }), "nothing");
    EXPECT_EQ(fs::file_size(dir / "new"), 0U);
}

TEST(BinaryStream, ReadsAndWritesWithoutASeekBetween) {
    const TempDir dir;
    const std::string path = dir / "file";
    WriteFile(path, "\x01\x02\x03\x04\x05\xF6\x07\x08");
    unsigned char bytes[] = "x";
    unsigned values[] = {~0U, ~0U, ~0U};
    unsigned short half = 0;
    VBinaryStream stream;
    stream.Open(path.c_str(), M::UpdateMode);
    stream.ReadInt32(values[0], 3);
    stream.WriteRawData(bytes, 1);
    stream.ReadInt16(half);
    stream.ReadInt32(values[1], 2);
    stream.ReadInt32(values[2], 0);
    stream.ReadBytes(bytes, 0);
    EXPECT_EQ(half, 0xF605);
    EXPECT_THAT(values, testing::ElementsAre(0x030201U, 0x0807U, 0U));
    EXPECT_EQ(Thrown([&] { stream.ReadBytes(bytes, 1); }), "BSTR-E-4151: " + path + " < BSTR-E-5114");
    stream.Close();
    EXPECT_EQ(ReadFile(path), "\x01\x02\x03x\x05\xF6\x07\x08");
}

TEST(BinaryStream, TellsWhyItCannotRead) {
    const TempDir dir;
    unsigned char byte = 0;
    unsigned value = 0;
    VBinaryStream stream;
    stream.Open((dir / "").c_str(), M::ReadMode);
    EXPECT_DEATH(stream.Open("/dev/null", M::ReadMode), "Mis/BinStrm.*`m_file == 0' failed");
    EXPECT_DEATH(stream.ReadInt32(value, 5), "`len >= 0 && len <= 4' failed");
    EXPECT_EQ(Thrown([&] { stream.ReadBytes(&byte, 1); }), "BSTR-E-4151: " + (dir / "") + " < BSTR-E-5115: 1");
    stream.Close();
    EXPECT_EQ(Thrown([&] { stream.ReadBytes(&byte, 1); }), "BSTR-E-4151: " + (dir / "")) << "closed";
    EXPECT_EQ(stream.ReadRawData(&byte, 1), 0U);
    EXPECT_EQ(stream.WriteRawData(&byte, 1), 0U);
    EXPECT_EQ(Thrown([&] { stream.Flush(), stream.Close(); }), "nothing");
    const int descriptor = open("/dev/null", O_RDONLY);
    close(descriptor);
    stream.Open("/dev/null", M::ReadMode);
    EXPECT_EQ(close(descriptor), 0) << "was that of the stream";
    EXPECT_EQ(Thrown([&] { stream.Close(); }), "BSTR-E-4148: /dev/null");
}

TEST(BinaryStream, LostBytesAreSeen) {
    const std::string error = "BSTR-E-4152: /dev/full < BSTR-E-4096: No space left on device";
    unsigned char bytes[100000] = {};
    VBinaryStream stream;
    stream.Open("/dev/full", M::WriteMode);
    EXPECT_EQ(stream.WriteRawData(bytes, 10), 10U);
    EXPECT_EQ(Thrown([&] { stream.Flush(); }), error);
    EXPECT_THAT(Thrown([&] { stream.Close(); }), testing::StartsWith("BSTR-E-4152: /dev/full < "));
    stream.Open("/dev/full", M::UpdateMode);
    EXPECT_LT(stream.WriteRawData(bytes, sizeof bytes), sizeof bytes);
    errno = 0;
    EXPECT_EQ(Thrown([&] { stream.Close(); }), error) << "a write that failed earlier counts, with its own cause";
    VBinaryStream takenOver;
    takenOver.Open(Descriptor(open("/dev/full", O_RDWR)), "/dev/full");
    EXPECT_EQ(takenOver.WriteRawData(bytes, 1), 1U);
    EXPECT_EQ(Thrown([&] { takenOver.Close(); }), error);
}

class Services : public testing::Test {
protected:
    bool Exists(const char* name) const { return doesFileExist((m_dir / name).c_str()); }
    /// What `action` writes to the log.
    std::vector<std::string> Logged(const std::function<void()>& action) const {
        batutil_LogOpen((m_dir / "").c_str(), "log", 1, false);
        action();
        batutil_LogClose();
        auto records = Records(ReadFile(m_dir / "log"));
        records.erase(records.begin());
        return records;
    }
    const TempDir m_dir;
};

TEST_F(Services, DirectoriesAreMadeUpToTheLastSeparator) {
    WriteFile(m_dir / "file", "");
    const std::tuple<const char*, int, const char*> cases[] = {
        {"x/y/", 1, "x/y"}, {"u/v", 1, "u"}, {"file", 1, "file"}, {"file/sub/", 0, "file"}};
    for (const auto& [path, result, made] : cases) {
        EXPECT_EQ(CreateUnixPath((m_dir / path).c_str()), result) << path;
        EXPECT_TRUE(Exists(made)) << path;
    }
    EXPECT_FALSE(Exists("u/v"));
    EXPECT_EQ(fs::status(m_dir / "x").permissions() & ~fs::perms::owner_all, fs::perms::none);
}

TEST_F(Services, DeleteRemovesOneNameOrAllThatMatch) {
    for (const char* name : {"d/a.txt", "d/.hidden", "d/s/t/deep", "kept/file"}) {
        WriteFile(m_dir / name, "");
    }
    fs::create_symlink(m_dir / "kept", m_dir / "d/link");
    const std::tuple<const char*, bool, const char*, bool> cases[] = {{"d/s", false, "d/s/t/deep", true},
                                                                      {"d/?.txt", true, "d/a.txt", false},
                                                                      {"no", false, "d/s/t/deep", true},
                                                                      {"d/*", true, "d", true},
                                                                      {"d", true, "d", false},
                                                                      {"d/*", true, "kept/file", true}};
    for (const auto& [path, result, name, isKept] : cases) {
        EXPECT_EQ(sys_delete((m_dir / path).c_str()), result) << path;
        EXPECT_EQ(Exists(name), isKept) << path << ' ' << name;
    }
}

TEST_F(Services, AMadeDirectoryGivesItsName) {
    WriteFile(m_dir / "file", "");
    char attributes = 0;
    std::string name(100, 'x');
    const auto make = [&](const char* path, void* header) {
        return dsk_credir(nullptr, (m_dir / path).c_str(), 0, header, name.data(), 0);
    };
    EXPECT_THAT(Logged([&] {
                    EXPECT_EQ(make("file/x/", nullptr), -1);
                    EXPECT_EQ(make("new/", &attributes), -1);
                }),
                testing::ElementsAre("DISK 4341 E [" + (m_dir / "file/x/]"), "DISK 4341 E [" + (m_dir / "new/]")));
    EXPECT_STREQ(name.c_str(), "");
    EXPECT_THAT(Logged([&] { EXPECT_EQ(make("new/", nullptr), 1); }), testing::IsEmpty());
    EXPECT_EQ(name.c_str(), m_dir / "new/");
}

TEST_F(Services, ALockedDirectoryIsNoMissingOne) {
    const std::string file = m_dir / "locked/file";
    WriteFile(file, "");
    fs::permissions(m_dir / "locked", fs::perms::none);
    fs::permissions(m_dir / "", fs::perms::all);
    constexpr uid_t nobody = 65534;
    const uid_t user = geteuid();
    ASSERT_EQ(seteuid(user == 0 ? nobody : user), 0) << "root may do everything";
    const std::pair<M::AccessMode, std::string> cases[] = {
        {M::ReadMode, "BSTR-E-4144: " + file}, {M::WriteMode, "BSTR-E-4145: " + file}, {M::UpdateMode, "BSTR-E-4159"}};
    for (const auto& [mode, error] : cases) {
        EXPECT_EQ(Thrown([&, mode = mode] { VBinaryStream().Open(file.c_str(), mode); }), error);
    }
    EXPECT_EQ(CreateUnixPath((file + "/").c_str()), 0);
    EXPECT_THAT(Logged([&] { sys_delete((file + "*").c_str()); }),
                testing::ElementsAre("SYST 5065 W [" + (m_dir / "locked/") + "] [" + file + "*] [Permission denied]"));
    EXPECT_EQ(seteuid(user), 0);
    fs::permissions(m_dir / "locked", fs::perms::owner_all);
}

TEST_F(Services, TellWhatIsThere) {
    fs::create_symlink(m_dir / "nowhere", m_dir / "dangling");
    EXPECT_TRUE(txccl::File::exists(m_dir / "dangling"));
    EXPECT_FALSE(Exists("dangling"));
    EXPECT_FALSE(txccl::File::exists(""));
    errno = 7;
    EXPECT_EQ(sys_fopen("", "r", 0), nullptr);
    EXPECT_EQ(sys_fopen(nullptr, "r", 0), nullptr);
    EXPECT_EQ(sys_fopen("/dev/null", nullptr, 0), nullptr);
    EXPECT_EQ(errno, 7);
    char node[65] = ".";
    EXPECT_EQ(sys_getnodename(node, 0), 1);
    EXPECT_EQ(std::strchr(node, '.'), nullptr);
    errno = ENOENT;
    EXPECT_EQ(std::unique_ptr<VI18NError>(getSystemError())->what(), "BSTR-E-4096: No such file or directory");
    errno = 0;
    EXPECT_EQ(getSystemError(), nullptr);
}

TEST(Classlib, TextsAndPaths) {
    EXPECT_EQ(text::Crop(" \t\r\n a b \t\r\n "), "a b");
    EXPECT_EQ(text::Crop("\v\f\xA0"), "\v\f\xA0");
    EXPECT_EQ(text::CropEnd(" a \n"), " a");
    EXPECT_THAT(text::Split("a..b.", '.'), testing::ElementsAre("a", "", "b", ""));
    EXPECT_EQ(text::Join({"a", "", "b"}, ", "), "a, , b");
    EXPECT_FALSE(text::EqualIgnoringCase("@[", "`{")) << "no letters";
    EXPECT_FALSE(text::EqualIgnoringCase("a", "ab"));
    for (const auto& [digits, number] : {std::pair("-5", 0), {"+5", 0}, {"007x", 7}, {"2147483648", INT_MAX}}) {
        EXPECT_EQ(text::LeadingNumber(digits), number) << digits;
    }
    using Row = std::tuple<const char*, const char*, const char*>;
    for (const auto& [a, b, joined] :
         {Row("", "", "/"), {"", "b", "/b"}, {"a/", "//b", "a/b"}, {"a//b", "c/", "a/b/c/"}, {"\\\\a", "", "\\\\a/"}}) {
        EXPECT_EQ(FilenameHelper::join(a, b), joined);
    }
}

const unsigned char* Bytes(const char* text) {
    return reinterpret_cast<const unsigned char*>(text);
}

TEST(Classlib, Signatures) {
    const std::string ofNothing = "da39a3ee5e6b4b0d3255bfef95601890afd80709";
    const std::string ofAbc = "a9993e364706816aba3e25717850c26c9cd0d89d";
    Signature signature;
    signature.update(Bytes("a"), 1);
    signature.update(Bytes("bcd"), 2);
    EXPECT_EQ(signature.to_binary(), nullptr);
    EXPECT_EQ(signature.to_string(), "");
    signature.close();
    signature.update(Bytes("d"), 1);
    signature.close();
    EXPECT_EQ(signature.to_string(), ofAbc);
    for (unsigned char* copy : {signature.to_binary(), Signature::binary("abc")}) {
        EXPECT_EQ(std::string(copy, copy + 3), "\xA9\x99\x3E");
        EXPECT_EQ(copy[Signature::SIGNATURE_SIZE - 1], 0x9D);
        Signature::free_binary(copy);
    }
    unsigned char* const nothing = Signature::binary();
    EXPECT_EQ(std::string(nothing, nothing + 3), "\xDA\x39\xA3");
    Signature::free_binary(nothing);
    EXPECT_EQ(Signature::of(), ofNothing);
    EXPECT_EQ(Signature::of(static_cast<Signature::SignableObject*>(nullptr)), ofNothing);
    EXPECT_EQ(Signature::of(Bytes("abcd"), 3), ofAbc);
}

} // namespace
