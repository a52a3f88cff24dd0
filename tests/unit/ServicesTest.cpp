#include "Mis/BinStrm.h"
#include "Mis/Log.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/SysClientUnix.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "Mis/VError.h"
#include "classlib/File.h"
#include "classlib/FilenameHelper.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <cerrno>
#include <functional>

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using M = VBinaryStream;

/// What `action` throws, and its cause.
std::string Thrown(const std::function<void()>& action) {
    try {
        action();
    } catch (VError*) {
        const auto error = err_caught();
        auto* cause = dynamic_cast<VI18NError*>(error->GetChildError());
        const bool missing = dynamic_cast<VI18NFileNotFoundError*>(error.get()) != nullptr;
        return (missing ? "missing " : "") + dynamic_cast<VI18NError&>(*error).what() +
               (cause == nullptr ? "" : " < " + cause->what());
    }
    return "nothing";
}

TEST(BinaryStream, OpenFailures) {
    const TempDir dir;
    fs::create_symlink(dir / "nowhere", dir / "dangling");
    WriteFile(dir / "file", "");
    // clang-format off
    const std::tuple<std::string, M::AccessMode, const char*> cases[] = {
        {dir / "no", M::ReadMode, "missing BSTR-E-4166: "}, {dir / "no/x", M::WriteMode, "BSTR-E-4145: "},
        {dir / "file/x", M::ReadMode, "BSTR-E-4144: "},     {dir / "", M::WriteMode, "BSTR-E-4145: "},
        {"", M::ReadShareMode, "BSTR-E-4144: "},            {dir / "no/x", M::UpdateMode, "BSTR-E-4145: "},
        {dir / "", M::UpdateMode, "BSTR-E-4145: "},         {dir / "dangling", M::UpdateMode, "BSTR-E-4145: "},
    };
    // clang-format on
    VBinaryStream stream;
    for (const auto& item : cases) {
        errno = ENOENT;
        EXPECT_EQ(Thrown([&] { stream.Open(std::get<0>(item).c_str(), std::get<1>(item)); }),
                  std::get<2>(item) + std::get<0>(item));
    }
}

TEST(BinaryStream, ReadsAndWritesWithoutASeekBetween) {
    const TempDir dir;
    const std::string path = dir / "file";
    unsigned char bytes[] = "\x01\x02\x03\x04\x05";
    VBinaryStream stream;
    stream.Open(path.c_str(), M::UpdateMode);
    EXPECT_EQ(stream.WriteRawData(bytes, 5) + stream.ReadRawData(bytes, 5) + stream.WriteRawData(bytes, 5), 10U);
    stream.Close();
    stream.Open(path.c_str(), M::UpdateMode);
    unsigned values[] = {~0U, ~0U};
    unsigned short narrow = 0;
    stream.ReadInt32(values[0], 3);
    stream.WriteRawData(bytes + 4, 1);
    stream.ReadInt16(narrow);
    stream.ReadInt32(values[1], 4);
    EXPECT_EQ(narrow, 0x0105);
    EXPECT_THAT(values, testing::ElementsAre(0x030201U, 0x05040302U));
    stream.ReadBytes(bytes, 0);
    EXPECT_EQ(Thrown([&] { stream.ReadBytes(bytes, 1); }), "BSTR-E-4151: " + path + " < BSTR-E-5114");
    EXPECT_DEATH(stream.ReadInt32(values[0], 5), ": Mis/BinStrm.cpp:.*`len >= 0 && len <= 4' failed");
    EXPECT_DEATH(stream.Open("f", M::ReadMode), ": Mis/BinStrm.cpp:.*`m_file == 0' failed");
}

TEST(BinaryStream, LostBytesAreSeen) {
    const std::string error = "BSTR-E-4152: /dev/full < BSTR-E-4096: No space left on device";
    unsigned char bytes[100000] = {};
    VBinaryStream stream;
    VBinaryStream dropped;
    dropped.Open("/dev/full", M::WriteMode);
    stream.Open("/dev/full", M::WriteMode);
    EXPECT_EQ(stream.WriteRawData(bytes, 10) + dropped.WriteRawData(bytes, 10), 20U);
    EXPECT_EQ(Thrown([&] { stream.Flush(); }), error);
    EXPECT_THAT(Thrown([&] { stream.Close(); }), testing::StartsWith("BSTR-E-4152: /dev/full < "));
    stream.Close();
    stream.Open("/dev/full", M::UpdateMode);
    EXPECT_LT(stream.WriteRawData(bytes, sizeof bytes), sizeof bytes);
    errno = 0;
    EXPECT_EQ(Thrown([&] { stream.Close(); }), error) << "a write that failed earlier counts, with its own cause";
    stream.Open("/", M::ReadMode);
    EXPECT_EQ(Thrown([&] { stream.ReadBytes(bytes, 1); }), "BSTR-E-4151: / < BSTR-E-5115: 1");
}

/// A scratch directory with the run log in it.
class Services : public testing::Test {
protected:
    Services() { batutil_LogOpen((m_dir / "").c_str(), "log", 1, false); }
    ~Services() override { batutil_LogClose(); }
    bool Exists(const char* name) const { return doesFileExist((m_dir / name).c_str()); }
    std::string LastRecord() const { return Records(ReadFile(m_dir / "log")).back(); }
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
    char name[300] = "?";
    EXPECT_EQ(dsk_credir(nullptr, (m_dir / "file/b/").c_str(), 0, nullptr, name, 0), -1);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(LastRecord(), "DISK 4341 E [" + (m_dir / "file/b/") + "]");
}

TEST_F(Services, DeleteRemovesOneNameOrAllThatMatch) {
    for (const char* name : {"d/a.txt", "d/.hidden", "d/s/t/deep", "kept/file"}) {
        WriteFile(m_dir / name, "");
    }
    fs::create_symlink(m_dir / "kept", m_dir / "d/link");
    const auto remove = [this](const char* name) { return sys_delete((m_dir / name).c_str()); };
    EXPECT_FALSE(remove("d/s") || remove("no"));
    EXPECT_TRUE(remove("d/?.txt") && !Exists("d/a.txt") && Exists("d/s/t/deep"));
    EXPECT_TRUE(remove("d/*") && fs::is_empty(m_dir / "d"));
    EXPECT_TRUE(Exists("kept/file")) << "a link is not followed";
    EXPECT_TRUE(remove("d") && remove("d/*") && remove("log/*"));
    EXPECT_EQ(LastRecord(), "SYST 5065 W [" + (m_dir / "log/") + "] [" + (m_dir / "log/*") + "] [Not a directory]");
}

TEST_F(Services, NamesAndErrors) {
    fs::create_symlink(m_dir / "nowhere", m_dir / "dangling");
    EXPECT_TRUE(txccl::File::exists(m_dir / "dangling") && !Exists("dangling") && !txccl::File::exists(""));
    const auto join = txccl::FilenameHelper::join;
    EXPECT_EQ(join("", "") + ' ' + join("", "b") + ' ' + join("a/", "//b") + ' ' + join("\\\\a", ""),
              "/ /b a/b \\\\a/");
    errno = ENOENT;
    EXPECT_TRUE(sys_fopen("", "r", 0) == nullptr && sys_fopen("/", nullptr, 0) == nullptr);
    EXPECT_EQ(std::unique_ptr<VI18NError>(getSystemError())->what(), "BSTR-E-4096: No such file or directory");
    errno = 0;
    EXPECT_EQ(getSystemError(), nullptr);
}

} // namespace
