#include "Mis/Unix/WholeFile.h"

#include "Mis/Unix/FileStatus.h"
#include "Mis/Unix/Room.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

const std::string mebi(1U << 20, 'm');

TEST(WholeFile, WritesOverTheOldBytesAndAnswersTheLength) {
    const TempDir dir;
    const std::string file = dir / "file";
    for (const std::string& old : {std::string(), std::string("old"), std::string(9000, 'o'), mebi + mebi + "tail"}) {
        WriteFile(file, old);
        EXPECT_EQ(sys_writeFile(file, "new text"), 8) << old.size();
        EXPECT_EQ(ReadFile(file), "new text") << old.size();
    }
    EXPECT_EQ(sys_writeFile(dir / "made", mebi), 1L << 20);
    EXPECT_EQ(ReadFile(dir / "made"), mebi);
}

TEST(WholeFile, FillsHolesBeforeWriting) {
    const TempDir dir;
    WriteFile(dir / "file", "");
    std::filesystem::resize_file(dir / "file", mebi.size());
    EXPECT_EQ(sys_writeFile(dir / "file", mebi), 1L << 20);
    EXPECT_GE(FileStatus::Of(dir / "file").Allocated(), 1L << 20);
    // Padding is written into holes, too.
    std::filesystem::resize_file(dir / "file", 0);
    std::filesystem::resize_file(dir / "file", mebi.size());
    const int file = open((dir / "file").c_str(), O_RDWR);
    EXPECT_TRUE(sys_reserve(file, FileStatus::Of(file), 1L << 20));
    close(file);
    EXPECT_GE(FileStatus::Of(dir / "file").Allocated(), 1L << 20);
}

TEST(WholeFile, AnswersForWhatIsNoRegularFile) {
    const TempDir dir;
    EXPECT_EQ(sys_writeFile("/dev/null", "text"), 4);
    EXPECT_EQ(sys_writeFile("/dev/full", "text"), 0);
    EXPECT_EQ(sys_writeFile(dir / "", "text"), -1);
    EXPECT_EQ(sys_writeFile(dir / "no/file", "text"), -1);
}

TEST(WholeFile, NeverBeginsATextAboveTheLimit) {
    const TempDir dir;
    WriteFile(dir / "file", std::string(3000, 'o'));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limited = {2000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limited);
    const long above = sys_writeFile(dir / "file", std::string(2001, 'n'));
    const long aboveNew = sys_writeFile(dir / "new", std::string(2001, 'n'));
    const std::string afterAbove = ReadFile(dir / "file");
    const long within = sys_writeFile(dir / "file", std::string(2000, 'n'));
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(above, -1);
    EXPECT_EQ(afterAbove, std::string(3000, 'o'));
    EXPECT_EQ(aboveNew, -1);
    EXPECT_FALSE(std::filesystem::exists(dir / "new"));
    EXPECT_EQ(within, 2000);
    EXPECT_EQ(ReadFile(dir / "file"), std::string(2000, 'n'));
}

TEST(WholeFile, ComparesWholeFiles) {
    const TempDir dir;
    const std::string block(16384, 'b');
    const struct {
        const char* name;
        std::string file;
        std::string reference;
        bool same;
    } cases[] = {
        {"both empty", "", "", true},
        {"one byte more", block + "c", block, false},
        {"one byte less", block, block + "c", false},
        {"last byte differs", block + block + "c", block + block + "d", false},
        {"many blocks", block + block + "c", block + block + "c", true},
    };
    for (const auto& test : cases) {
        WriteFile(dir / "file", test.file);
        WriteFile(dir / "reference", test.reference);
        EXPECT_EQ(sys_holdsSame(dir / "file", dir / "reference"), test.same) << test.name;
    }
    WriteFile(dir / "reference", "");
    EXPECT_FALSE(sys_holdsSame(dir / "", dir / "reference"));
    EXPECT_FALSE(sys_holdsSame(dir / "reference", dir / ""));
    EXPECT_FALSE(sys_holdsSame(dir / "missing", dir / "reference"));
}

TEST(FileStatus, KnowsOneFileByAllItsNames) {
    const TempDir dir;
    std::filesystem::create_directories(dir / "a/b");
    WriteFile(dir / "a/file", "");
    std::filesystem::create_hard_link(dir / "a/file", dir / "second");
    std::filesystem::create_symlink("a/file", dir / "link");
    std::filesystem::create_symlink("a/none", dir / "dangling");
    const struct {
        std::string path;
        std::string file;
        bool same;
    } cases[] = {
        {"a/b/../file", "a/file", true}, {"second", "a/file", true},   {"link", "a/file", true},
        {"a/none", "a/file", false},     {"a/./none", "a/none", true}, {"dangling", "a/none", true},
        {"none", "a/none", false},       {"link", "a/none", false},    {"x/../a/none", "a/none", false},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(sys_isSameFile(dir / test.path, dir / test.file, FileStatus::Of(dir / test.file)), test.same)
            << test.path;
    }
}

} // namespace
