#include "Mis/BinStrm.h"
#include "Mis/Log.h"
#include "Mis/Unix/Descriptor.h"
#include "Mis/Unix/Dsk.h"
#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/OutputFile.h"
#include "Mis/Unix/Room.h"
#include "Mis/Unix/Synchronise.h"
#include "Mis/Unix/SysClientUnix.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "Mis/Unix/WholeFile.h"
#include "classlib/File.h"
#include "classlib/FilenameHelper.h"
#include "classlib/Signature.h"
#include "classlib/String.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"
#include "tests/support/Thrown.h"

#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
namespace text = txccl::string;
using testing::ElementsAre;
using txccl::FilenameHelper;
using txccl::Signature;
using M = VBinaryStream;

class Services : public testing::Test {
protected:
    bool Exists(const char* name) const { return doesFileExist((m_dir / name).c_str()); }
    const TempDir m_dir;
    const std::string m_file = m_dir / "file";
    VBinaryStream m_stream;
};

TEST_F(Services, AStreamTellsWhyItCannotBeOpened) {
    fs::create_symlink(m_dir / "nowhere", m_dir / "dangling");
    const std::tuple<std::string, M::AccessMode, const char*> cases[] = {
        {m_dir / "no", M::ReadMode, "BSTR-E-4166: "},         {"", M::ReadMode, "BSTR-E-4144: "},
        {m_dir / "no/x", M::WriteMode, "BSTR-E-4145: "},      {m_dir / "no/x", M::UpdateMode, "BSTR-E-4145: "},
        {m_dir / "dangling", M::UpdateMode, "BSTR-E-4145: "},
    };
    for (const auto& [path, mode, error] : cases) {
        errno = ENOENT;
        EXPECT_EQ(Thrown([&, p = path, m = mode] { m_stream.Open(p.c_str(), m); }), error + path);
    }
    m_stream.Open(m_file.c_str(), static_cast<M::AccessMode>(7));
    EXPECT_FALSE(Exists("file")) << "no known mode";
    m_stream.Open(m_file.c_str(), M::UpdateMode);
    EXPECT_EQ(fs::file_size(m_file), 0U);
}

TEST_F(Services, AStreamReadsAndWritesWithoutASeekBetween) {
    WriteFile(m_file, "\x01\x02\x03\x04\x05\xF6\x07\x08");
    unsigned char bytes[] = "x--";
    unsigned values[] = {~0U, ~0U, ~0U};
    unsigned short half = 0;
    m_stream.Open(m_file.c_str(), M::UpdateMode);
    m_stream.ReadInt32(values[0], 3);
    m_stream.WriteRawData(bytes, 1);
    m_stream.ReadInt16(half);
    m_stream.ReadInt32(values[1], 2);
    m_stream.ReadInt32(values[2], 0);
    m_stream.ReadBytes(bytes, 0);
    EXPECT_EQ(half, 0xF605);
    EXPECT_THAT(values, ElementsAre(0x030201U, 0x0807U, 0U));
    EXPECT_EQ(Thrown([&] { m_stream.ReadBytes(bytes, 1); }), "BSTR-E-4151: " + m_file + " < BSTR-E-5114");
    m_stream.Close();
    EXPECT_EQ(ReadFile(m_file), "\x01\x02\x03x\x05\xF6\x07\x08");
    ASSERT_EQ(mkfifo((m_dir / "fifo").c_str(), 0600), 0);
    m_stream.Open((m_dir / "fifo").c_str(), M::UpdateMode);
    for (int i = 1; i < 3; ++i) {
        EXPECT_EQ(m_stream.WriteRawData(bytes, 1), 1U);
        EXPECT_EQ(m_stream.ReadRawData(bytes + i, 1), 1U);
    }
    EXPECT_EQ(m_stream.ReadRawData(nullptr, 0), 0U);
    EXPECT_STREQ(reinterpret_cast<const char*>(bytes), "xxx");
}

TEST_F(Services, AStreamTellsWhyItCannotRead) {
    unsigned char byte = 0;
    unsigned value = 0;
    const auto read = [&] { m_stream.ReadBytes(&byte, 1); };
    m_stream.Open((m_dir / "").c_str(), M::ReadMode);
    EXPECT_DEATH(m_stream.Open("/dev/null", M::ReadMode), "Mis/BinStrm.*`m_file == 0' failed");
    EXPECT_DEATH(m_stream.ReadInt32(value, 5), "`len >= 0 && len <= 4' failed");
    EXPECT_EQ(Thrown(read), "BSTR-E-4151: " + (m_dir / "") + " < BSTR-E-5115: 1");
    m_stream.Close();
    EXPECT_EQ(Thrown(read), "BSTR-E-4151: " + (m_dir / "")) << "closed";
    EXPECT_EQ(m_stream.ReadRawData(&byte, 1) + m_stream.WriteRawData(&byte, 1), 0U);
    EXPECT_EQ(Thrown([&] { m_stream.Flush(), m_stream.Close(); }), "nothing");
    const int descriptor = open("/dev/null", O_RDONLY);
    close(descriptor);
    m_stream.Open("/dev/null", M::ReadMode);
    EXPECT_EQ(close(descriptor), 0) << "was that of the stream";
    EXPECT_EQ(Thrown([&] { m_stream.Close(); }), "BSTR-E-4148: /dev/null");
}

TEST_F(Services, AStreamSeesLostBytes) {
    const std::string error = "BSTR-E-4152: /dev/full < BSTR-E-4096: No space left on device";
    const auto closed = [&] { return Thrown([&] { m_stream.Close(); }); };
    unsigned char bytes[100000] = {};
    m_stream.Open("/dev/full", M::WriteMode);
    EXPECT_EQ(m_stream.WriteRawData(bytes, 10), 10U);
    EXPECT_EQ(Thrown([&] { m_stream.Flush(); }), error);
    EXPECT_THAT(closed(), testing::StartsWith("BSTR-E-4152: /dev/full < "));
    m_stream.Open("/dev/full", M::UpdateMode);
    EXPECT_LT(m_stream.WriteRawData(bytes, sizeof bytes), sizeof bytes);
    errno = 0;
    EXPECT_EQ(closed(), error) << "a write that failed earlier counts, with its own cause";
    m_stream.Open(Descriptor(open("/dev/full", O_RDWR)), "/dev/full");
    EXPECT_EQ(m_stream.WriteRawData(bytes, 1), 1U);
    EXPECT_EQ(closed(), error) << "taken over";
    const auto before = OpenFiles();
    m_stream.Open("/dev/null", M::WriteMode);
    EXPECT_EQ(closed(), "nothing") << "an error ends with its file";
    VBinaryStream().Open("/dev/null", M::WriteMode);
    EXPECT_EQ(OpenFiles(), before);
}

TEST_F(Services, AWholeFileIsWrittenOverTheOldBytesAndHoles) {
    const std::string mebi(1U << 20, 'm');
    for (const std::string& old : {std::string(), std::string(9000, 'o'), mebi + mebi + "tail"}) {
        WriteFile(m_file, old);
        EXPECT_EQ(sys_writeFile(m_file, "new text"), 8) << old.size();
        EXPECT_EQ(ReadFile(m_file), "new text") << old.size();
    }
    fs::resize_file(m_file, mebi.size());
    using Row = std::tuple<std::string, std::string, long>;
    for (const auto& [path, content, result] : {Row(m_file, mebi, 1L << 20),
                                                {m_dir / "made", mebi, 1L << 20},
                                                {"/dev/null", "text", 4},
                                                {"/dev/full", "text", 0},
                                                {m_dir / "", "text", -1},
                                                {m_dir / "no/file", "text", -1}}) {
        EXPECT_EQ(sys_writeFile(path, content), result) << path;
    }
    EXPECT_EQ(ReadFile(m_dir / "made"), mebi);
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limited = {1000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limited);
    EXPECT_EQ(sys_writeFile(m_dir / "too long", mebi), -1);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_FALSE(Exists("too long"));
    const mode_t umasked = umask(0);
    EXPECT_EQ(fs::status(m_dir / "made").permissions(), static_cast<fs::perms>(0666U & ~umasked));
    umask(umasked);
}

TEST_F(Services, OutputFollowsAsManyLinksAsTheSystemDoes) {
    WriteFile(m_file, "");
    std::string target = "file";
    for (int link = 1; link <= 41; ++link) {
        fs::create_symlink(target, m_dir / std::to_string(link));
        target = std::to_string(link);
    }
    for (const auto& [name, opens] : {std::pair("40", true), {"41", false}}) {
        EXPECT_EQ(sys_openOutput(m_dir / name, O_WRONLY, 0600).file.IsOpen(), opens) << name;
        EXPECT_EQ(Exists(name), opens) << name;
    }
}

TEST_F(Services, RoomIsReservedInHoles) {
    WriteFile(m_file, "");
    fs::resize_file(m_file, 1U << 20);
    const Descriptor file(open(m_file.c_str(), O_RDWR));
    EXPECT_EQ(fallocate(file.Number(), FALLOC_FL_KEEP_SIZE, 1L << 20, 1L << 20), 0) << "room that is no hole";
    errno = EIO;
    EXPECT_TRUE(sys_synchronise(file.Number())) << "an earlier error is none";
    EXPECT_TRUE(sys_reserve(file.Number(), FileStatus::Of(file.Number()), 1L << 20));
    EXPECT_GE(FileStatus::Of(m_file).Allocated(), 2L << 20);
}

TEST_F(Services, WholeFilesAreCompared) {
    const std::string block(16384, 'b');
    using Row = std::tuple<std::string, std::string, bool>;
    for (const auto& [content, reference, same] : {Row("", "", true),
                                                   {block + "c", block, false},
                                                   {block, block + "c", false},
                                                   {block + "c", block + "d", false},
                                                   {block + block + "c", block + block + "c", true}}) {
        WriteFile(m_file, content);
        WriteFile(m_dir / "reference", reference);
        EXPECT_EQ(sys_holdsSame(m_file, m_dir / "reference"), same) << content.size() << ' ' << reference.size();
    }
    WriteFile(m_file, "");
    for (const auto& [a, b] : {std::pair("", "file"), {"file", ""}, {"missing", "file"}}) {
        EXPECT_FALSE(sys_holdsSame(m_dir / a, m_dir / b)) << a << ' ' << b;
    }
    ASSERT_EQ(mkfifo((m_dir / "fifo").c_str(), 0600), 0);
    EXPECT_TRUE(sys_holdsSame(m_dir / "fifo", m_dir / "fifo")) << "does not wait for a writer";
}

TEST_F(Services, DirectoriesAreMadeUpToTheLastSeparator) {
    WriteFile(m_file, "");
    const std::tuple<const char*, int, const char*> cases[] = {
        {"x/y/", 1, "x/y"}, {"u/v", 1, "u"}, {"file", 1, "file"}, {"file/sub/", 0, "file"}};
    for (const auto& [path, result, made] : cases) {
        EXPECT_EQ(CreateUnixPath((m_dir / path).c_str()), result) << path;
        EXPECT_TRUE(Exists(made)) << path;
    }
    EXPECT_FALSE(Exists("u/v"));
    EXPECT_EQ(fs::status(m_dir / "x").permissions() & fs::perms::all, fs::perms::owner_all);
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
    const auto before = OpenFiles();
    for (const auto& [path, result, name, isKept] : cases) {
        EXPECT_EQ(sys_delete((m_dir / path).c_str()), result) << path;
        EXPECT_EQ(Exists(name), isKept) << path << ' ' << name;
    }
    EXPECT_EQ(OpenFiles(), before);
}

TEST_F(Services, AMadeDirectoryGivesItsName) {
    WriteFile(m_file, "");
    char attributes = 0;
    std::string name(100, 'x');
    const auto make = [&](const char* path, void* header) {
        return dsk_credir(nullptr, (m_dir / path).c_str(), 0, header, name.data(), 0);
    };
    EXPECT_EQ(make("file/x/", nullptr) + make("new/", &attributes), -2);
    EXPECT_STREQ(name.c_str(), "");
    EXPECT_EQ(make("new/", nullptr), 1);
    EXPECT_EQ(name.c_str(), m_dir / "new/");
    EXPECT_EQ(dsk_credir(nullptr, (m_dir / "other/").c_str(), 0, nullptr), 1) << "no name is asked for";
}

TEST_F(Services, ALockedDirectoryIsNoMissingOne) {
    const std::string file = m_dir / "locked/file";
    WriteFile(file, "");
    fs::permissions(m_dir / "locked", fs::perms::none);
    fs::permissions(m_dir / "", fs::perms::all);
    const uid_t user = geteuid();
    if (seteuid(user == 0 ? 65534 : user) != 0) {
        GTEST_SKIP() << "root may do everything, and cannot become anybody else here";
    }
    const std::pair<M::AccessMode, std::string> cases[] = {
        {M::ReadMode, "BSTR-E-4144: " + file}, {M::WriteMode, "BSTR-E-4145: " + file}, {M::UpdateMode, "BSTR-E-4159"}};
    for (const auto& [mode, error] : cases) {
        EXPECT_EQ(Thrown([&, how = mode] { m_stream.Open(file.c_str(), how); }), error);
    }
    WriteFile(m_file, "");
    fs::permissions(m_file, fs::perms::owner_read);
    EXPECT_EQ(Thrown([&] { m_stream.Open(m_file.c_str(), M::UpdateMode); }), "BSTR-E-4145: " + m_file) << "read-only";
    EXPECT_EQ(CreateUnixPath((file + "/").c_str()), 0);
    batutil_LogOpen((m_dir / "").c_str(), "log", 1, false);
    sys_delete((m_dir / "missing/*").c_str());
    sys_delete((file + "*").c_str());
    batutil_LogClose();
    EXPECT_EQ(Records(ReadFile(m_dir / "log")).at(1),
              "SYST 5065 W [" + (m_dir / "locked/") + "] [" + file + "*] [Permission denied]");
    EXPECT_EQ(seteuid(user), 0);
    fs::permissions(m_dir / "locked", fs::perms::owner_all);
}

TEST_F(Services, TellWhatIsThere) {
    fs::create_symlink(m_dir / "nowhere", m_dir / "dangling");
    EXPECT_TRUE(txccl::File::exists(m_dir / "dangling"));
    EXPECT_FALSE(Exists("dangling"));
    EXPECT_FALSE(txccl::File::exists(""));
    EXPECT_TRUE(sys_isSameFile("/dev/null", "/dev/./null", FileStatus())) << "the name decides for want of a status";
    errno = 7;
    for (const auto& [path, mode] : {std::pair("", "r"), {nullptr, "r"}, {"/dev/null", nullptr}}) {
        EXPECT_EQ(sys_fopen(path, mode, 0), nullptr);
    }
    EXPECT_EQ(errno, 7);
    EXPECT_EQ(prs_getprogramsdir(), fs::read_symlink("/proc/self/exe").parent_path() / "");
    errno = ENOENT;
    EXPECT_EQ(std::unique_ptr<VI18NError>(getSystemError())->what(), "BSTR-E-4096: No such file or directory");
    errno = 0;
    EXPECT_EQ(getSystemError(), nullptr);
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

TEST(Classlib, TextsAndPaths) {
    EXPECT_EQ(text::Crop(" \t\r\n a b \t\r\n "), "a b");
    EXPECT_EQ(text::Crop("\v\f\xA0"), "\v\f\xA0");
    EXPECT_EQ(text::CropEnd(" a \n"), " a");
    EXPECT_EQ(text::Split("a..b.", '.'), (std::vector<std::string_view>{"a", "", "b", ""}));
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

TEST(Classlib, Signatures) {
    const auto* const abcd = reinterpret_cast<const unsigned char*>("abcd");
    Signature::SignableObject* const nullObject = nullptr;
    Signature signature;
    signature.update(abcd, 1);
    signature.update(abcd + 1, 2);
    EXPECT_EQ(signature.to_binary(), nullptr);
    EXPECT_EQ(signature.to_string(), "");
    signature.close();
    signature.update(abcd, 1);
    signature.close();
    for (const std::string& ofAbc : {signature.to_string(), Signature::of(abcd, 3)}) {
        EXPECT_EQ(ofAbc.size(), Signature::STRING_SIGNATURE_SIZE);
        EXPECT_EQ(ofAbc, "a9993e364706816aba3e25717850c26c9cd0d89d");
    }
    for (const std::string& ofNothing : {Signature::of(), Signature::of(nullObject)}) {
        EXPECT_EQ(ofNothing, "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    }
    for (const auto& [copy, ends] : {std::pair(signature.to_binary(), "\xA9\x9D"),
                                     {Signature::binary("abc"), "\xA9\x9D"},
                                     {Signature::binary(), "\xDA\x09"}}) {
        EXPECT_EQ(std::string({char(*copy), char(copy[Signature::SIGNATURE_SIZE - 1])}), ends);
        Signature::free_binary(copy);
    }
}

} // namespace
