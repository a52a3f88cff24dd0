#include "Mis/BinStrm.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/SysClientUnix.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "Mis/VError.h"
#include "classlib/File.h"
#include "classlib/FilenameHelper.h"
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
        return dynamic_cast<VI18NError&>(*error).what() + (cause == nullptr ? "" : " < " + cause->what());
    }
    return "nothing";
}

TEST(BinaryStream, OpenFailures) {
    const TempDir dir;
    fs::create_symlink(dir / "nowhere", dir / "dangling");
    const std::tuple<std::string, M::AccessMode, const char*> cases[] = {
        {dir / "no", M::ReadMode, "BSTR-E-4166: "},
        {"", M::ReadMode, "BSTR-E-4144: "},
        {dir / "no/x", M::WriteMode, "BSTR-E-4145: "},
        {dir / "dangling", M::UpdateMode, "BSTR-E-4145: "},
    };
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
    WriteFile(path, "\x01\x02\x03\x04\x05\x06\x07\x08");
    unsigned char bytes[] = "x";
    unsigned values[] = {~0U, ~0U};
    VBinaryStream stream;
    stream.Open(path.c_str(), M::UpdateMode);
    stream.ReadInt32(values[0], 3);
    stream.WriteRawData(bytes, 1);
    stream.ReadInt32(values[1], 4);
    EXPECT_THAT(values, testing::ElementsAre(0x030201U, 0x08070605U));
    EXPECT_EQ(Thrown([&] { stream.ReadBytes(bytes, 1); }), "BSTR-E-4151: " + path + " < BSTR-E-5114");
    stream.Close();
    EXPECT_EQ(ReadFile(path), "\x01\x02\x03x\x05\x06\x07\x08");
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
}

class Services : public testing::Test {
protected:
    bool Exists(const char* name) const { return doesFileExist((m_dir / name).c_str()); }
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
    const auto remove = [this](const char* name) { return sys_delete((m_dir / name).c_str()); };
    EXPECT_FALSE(remove("d/s") || remove("no"));
    EXPECT_TRUE(remove("d/?.txt") && !Exists("d/a.txt") && Exists("d/s/t/deep"));
    EXPECT_TRUE(remove("d/*") && fs::is_empty(m_dir / "d"));
    EXPECT_TRUE(Exists("kept/file")) << "a link is not followed";
    EXPECT_TRUE(remove("d") && remove("d/*"));
}

TEST_F(Services, NamesAndErrors) {
    fs::create_symlink(m_dir / "nowhere", m_dir / "dangling");
    EXPECT_TRUE(txccl::File::exists(m_dir / "dangling") && !Exists("dangling") && !txccl::File::exists(""));
    const auto join = txccl::FilenameHelper::join;
    EXPECT_EQ(join("", "") + ' ' + join("", "b") + ' ' + join("a/", "//b") + ' ' + join("\\\\a", ""),
              "/ /b a/b \\\\a/");
    errno = ENOENT;
    EXPECT_EQ(std::unique_ptr<VI18NError>(getSystemError())->what(), "BSTR-E-4096: No such file or directory");
}

} // namespace
