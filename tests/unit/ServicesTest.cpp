#include "Mis/BinStrm.h"
#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/Room.h"
#include "Mis/Unix/SysClientUnix.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "classlib/File.h"
#include "classlib/FilenameHelper.h"
#include "classlib/Signature.h"
#include "classlib/String.h"
#include "tests/support/Records.h"
#include "tests/support/ScratchTest.h"
#include "tests/support/Thrown.h"

#include <cerrno>
#include <climits>
#include <memory>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
namespace text = txccl::string;
using testing::ElementsAre;
using txccl::FilenameHelper;
using txccl::Signature;

class StreamTest : public ScratchTest {
protected:
    static constexpr auto reading = VBinaryStream::ReadMode;
    static constexpr auto writing = VBinaryStream::WriteMode;
    static constexpr auto updating = VBinaryStream::UpdateMode;

    std::string Opened(const char* file, VBinaryStream::AccessMode mode) {
        return Thrown([&] { stream.Open(file, mode); });
    }
    std::string Closed() {
        return Thrown([&] { stream.Close(); });
    }

    VBinaryStream stream;
    unsigned char bytes[100000] = {};
};

TEST_F(StreamTest, TellsWhyItCannotOpen) {
    fs::create_symlink("nowhere", "dangling");
    errno = ENOENT; // from before
    EXPECT_EQ(Opened("no", reading), "BSTR-E-4166: no");
    EXPECT_EQ(Opened("", reading), "BSTR-E-4144: ");
    EXPECT_EQ(Opened(nullptr, reading), "BSTR-E-4144: ");
    EXPECT_EQ(Opened("no/x", writing), "BSTR-E-4145: no/x");
    EXPECT_EQ(Opened("no/x", updating), "BSTR-E-4145: no/x");
    EXPECT_EQ(Opened("dangling", updating), "BSTR-E-4145: dangling");
    EXPECT_EQ(Opened("file", static_cast<VBinaryStream::AccessMode>(7)), "nothing");
    EXPECT_FALSE(fs::exists("file")) << "opened in no mode";
    EXPECT_EQ(Opened("file", updating), "nothing");
}

TEST_F(StreamTest, ReadsAndWritesWithoutASeek) {
    WriteFile("file", "\x01\x02\x03\x04\x05\xF6\x07\x08");
    bytes[0] = 'x';
    unsigned value = ~0U;
    unsigned short half = 0;
    stream.Open("file", updating);
    stream.ReadInt32(value, 3);
    EXPECT_EQ(value, 0x030201U);
    EXPECT_EQ(stream.WriteRawData(bytes, 1), 1U);
    stream.ReadInt16(half);
    EXPECT_EQ(half, 0xF605);
    EXPECT_EQ(stream.ReadRawData(bytes, 2), 2U);
    EXPECT_EQ(bytes[1], 8);
    stream.ReadInt32(value, 0);
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(Thrown([&] { stream.ReadBytes(bytes, 1); }), "BSTR-E-4151: file < BSTR-E-5114") << "at the end";
    EXPECT_DEATH(stream.Open("/dev/null", reading), "Mis/BinStrm.*`m_file == 0' failed");
    EXPECT_DEATH(stream.ReadInt32(value, 5), "`len >= 0 && len <= 4' failed");
    stream.Close();
    EXPECT_EQ(ReadFile("file"), "\x01\x02\x03x\x05\xF6\x07\x08");
}

TEST_F(StreamTest, TellsWhyItCannotRead) {
    stream.Open(".", reading);
    EXPECT_EQ(Thrown([&] { stream.ReadBytes(bytes, 1); }), "BSTR-E-4151: . < BSTR-E-5115: 1");
    stream.Close();
    EXPECT_EQ(Thrown([&] { stream.ReadBytes(bytes, 1); }), "BSTR-E-4151: .") << "closed";
    EXPECT_EQ(stream.ReadRawData(bytes, 1) + stream.WriteRawData(bytes, 1), 0U) << "closed";
    EXPECT_NO_THROW(stream.Flush());
    EXPECT_EQ(Closed(), "nothing") << "closed";
    const int lowestFree = dup(STDIN_FILENO);
    close(lowestFree);
    stream.Open("/dev/null", reading);
    EXPECT_EQ(close(lowestFree), 0);
    EXPECT_EQ(Closed(), "BSTR-E-4148: /dev/null");
}

TEST_F(StreamTest, SeesLostBytes) {
    const std::string lost = "BSTR-E-4152: /dev/full < BSTR-E-4096: No space left on device";
    stream.Open("/dev/full", writing);
    EXPECT_EQ(stream.WriteRawData(bytes, 10), 10U);
    EXPECT_EQ(Thrown([&] { stream.Flush(); }), lost);
    EXPECT_EQ(Closed(), lost);
    stream.Open("/dev/full", updating);
    EXPECT_LT(stream.WriteRawData(bytes, sizeof bytes), sizeof bytes);
    errno = 0;
    EXPECT_EQ(Closed(), lost) << "an earlier write counts, with its own cause";
    stream.Open("/dev/null", writing);
    EXPECT_EQ(Closed(), "nothing") << "an error ends with its file";
    VBinaryStream().Open("/dev/null", writing);
}

class FilesTest : public ScratchTest {};

TEST_F(FilesTest, DirectoriesAreMade) {
    WriteFile("file", "");
    EXPECT_EQ(CreateUnixPath("x/y/"), 1);
    EXPECT_TRUE(fs::is_directory("x/y"));
    EXPECT_EQ(fs::status("x").permissions(), fs::perms::owner_all);
    EXPECT_EQ(CreateUnixPath("u/v"), 1);
    EXPECT_TRUE(fs::is_directory("u"));
    EXPECT_FALSE(fs::exists("u/v")) << "behind the last separator";
    EXPECT_EQ(CreateUnixPath("file"), 1);
    EXPECT_EQ(CreateUnixPath("file/sub/"), 0);
    SetMode(".", 0777);
    SetMode("x", 0);
    {
        const AsUser user;
        EXPECT_EQ(CreateUnixPath("x/y/"), 0) << "locked";
    }
    SetMode("x", 0700);
}

TEST_F(FilesTest, MadeDirectoriesGiveTheirName) {
    WriteFile("file", "");
    char header = 0, name[100] = "before";
    EXPECT_EQ(dsk_credir(nullptr, "file/x/", 0, nullptr, name, 0), -1);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(dsk_credir(nullptr, "new/", 0, &header, name, 0), -1) << "no headers here";
    EXPECT_EQ(dsk_credir(nullptr, "new/", 0, nullptr, name, 0), 1);
    EXPECT_STREQ(name, "new/");
}

TEST_F(FilesTest, DeleteRemovesWhatMatches) {
    for (const char* file : {"d/a.txt", "d/.hidden", "d/s/t/deep", "kept/file"}) {
        WriteFile(file, "");
    }
    fs::create_symlink("../kept", "d/link");
    EXPECT_FALSE(sys_delete("d/s")) << "not empty";
    EXPECT_TRUE(sys_delete("d/?.txt"));
    EXPECT_FALSE(fs::exists("d/a.txt"));
    EXPECT_TRUE(fs::exists("d/.hidden"));
    EXPECT_TRUE(sys_delete("d/*"));
    EXPECT_TRUE(fs::is_empty("d"));
    EXPECT_TRUE(sys_delete("d"));
    EXPECT_FALSE(fs::exists("d"));
    EXPECT_TRUE(fs::exists("kept/file")) << "behind a link";
}

TEST_F(FilesTest, DeleteTellsWhatItCannotRead) {
    WriteFile("locked/file", "");
    SetMode(".", 0777);
    SetMode("locked", 0);
    batutil_LogOpen(".", "log", 1, false);
    {
        const AsUser user;
        EXPECT_TRUE(sys_delete("missing/*"));
        sys_delete("locked/file*");
    }
    SetMode("locked", 0700);
    EXPECT_THAT(Records(ReadFile("log")), ElementsAre("AGNT 4314 I [6.71.2105 Apr 27 2010 12:06:01]",
                                                      "SYST 5065 W [locked/] [locked/file*] [Permission denied]"));
}

TEST_F(FilesTest, ReservedRoomFillsHoles) {
    constexpr off_t mebi = 1 << 20;
    WriteFile("holes", "");
    fs::resize_file("holes", mebi);
    const Descriptor file(open("holes", O_RDWR));
    ASSERT_EQ(fallocate(file.Number(), FALLOC_FL_KEEP_SIZE, mebi, mebi), 0) << "room behind the end is no hole's";
    EXPECT_TRUE(sys_reserve(file.Number(), FileStatus::Of(file.Number()), mebi));
    EXPECT_GE(FileStatus::Of(file.Number()).Allocated(), 2 * mebi);
}

TEST_F(FilesTest, ExistenceAndErrorsAreTold) {
    fs::create_symlink("nowhere", "dangling");
    EXPECT_TRUE(txccl::File::exists("dangling"));
    EXPECT_FALSE(doesFileExist("dangling"));
    EXPECT_TRUE(doesFileExist("."));
    EXPECT_FALSE(txccl::File::exists(""));
    errno = 7;
    EXPECT_EQ(sys_fopen("", "r", 0), nullptr);
    EXPECT_EQ(sys_fopen(nullptr, "r", 0), nullptr);
    EXPECT_EQ(sys_fopen("/dev/null", nullptr, 0), nullptr);
    EXPECT_EQ(errno, 7) << "nothing was tried";
    errno = ENOENT;
    EXPECT_EQ(std::unique_ptr<VI18NError>(getSystemError())->what(), "BSTR-E-4096: No such file or directory");
    errno = 0;
    EXPECT_EQ(getSystemError(), nullptr);
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
        EXPECT_EQ(sys_getnodename(node, 0), 1) << full;
        EXPECT_EQ(node, name);
    }
}

TEST(Classlib, CropsSplitsAndCompares) {
    EXPECT_EQ(text::Crop(" \t\r\n a b \t\r\n "), "a b");
    EXPECT_EQ(text::Crop("\v\f\xA0"), "\v\f\xA0");
    EXPECT_EQ(text::CropEnd(" a \n"), " a");
    EXPECT_EQ(text::Split("a..b.", '.'), (std::vector<std::string_view>{"a", "", "b", ""}));
    EXPECT_EQ(text::Join({"a", "", "b"}, ", "), "a, , b");
    EXPECT_FALSE(text::EqualIgnoringCase("@[", "`{")) << "no letters";
    EXPECT_FALSE(text::EqualIgnoringCase("a", "ab"));
    EXPECT_TRUE(text::EqualIgnoringCase("aZ", "Az"));
    for (const auto& [digits, number] : {std::pair("-5", 0), {"+5", 0}, {"007x", 7}, {"2147483648", INT_MAX}}) {
        EXPECT_EQ(text::LeadingNumber(digits), number) << digits;
    }
}

TEST(Classlib, JoinsPaths) {
    EXPECT_EQ(FilenameHelper::join("", ""), "/");
    EXPECT_EQ(FilenameHelper::join("", "b"), "/b");
    EXPECT_EQ(FilenameHelper::join("a/", "//b"), "a/b");
    EXPECT_EQ(FilenameHelper::join("a//b", "c/"), "a/b/c/");
    EXPECT_EQ(FilenameHelper::join("\\\\a", ""), "\\\\a/");
}

TEST(Classlib, SignsBytes) {
    const std::string ofAbc = "a9993e364706816aba3e25717850c26c9cd0d89d";
    const std::string ofNothing = "da39a3ee5e6b4b0d3255bfef95601890afd80709";
    const auto* const abcd = reinterpret_cast<const unsigned char*>("abcd");
    Signature signature;
    signature.update(abcd, 1);
    signature.update(abcd + 1, 2);
    EXPECT_EQ(signature.to_string(), "") << "not closed";
    EXPECT_EQ(signature.to_binary(), nullptr) << "not closed";
    signature.close();
    signature.update(abcd, 1);
    signature.close();
    EXPECT_EQ(signature.to_string(), ofAbc) << "nothing is added to what is closed";
    EXPECT_EQ(Signature::of(abcd, 3), ofAbc);
    EXPECT_EQ(Signature::of(), ofNothing);
    EXPECT_EQ(Signature::of(static_cast<Signature::SignableObject*>(nullptr)), ofNothing);
    EXPECT_EQ(ofAbc.size(), Signature::STRING_SIGNATURE_SIZE);
    for (const auto& [binary, ends] : {std::pair(signature.to_binary(), "\xA9\x9D"),
                                       {Signature::binary("abc"), "\xA9\x9D"},
                                       {Signature::binary(), "\xDA\x09"}}) {
        EXPECT_EQ(std::string({char(binary[0]), char(binary[Signature::SIGNATURE_SIZE - 1])}), ends);
        Signature::free_binary(binary);
    }
}

} // namespace
