// Other programs and other users change what stands at a name, before each call of a run.

#include "PlugSetter/Run.h"
#include "tests/faults/Installation.h"

#include <fstream>
#include <set>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

const std::string more = "// more\n";
const std::string corrected = original + "Description = corrected\r\n";
const std::string secret = original + "Description = secret\r\n";

/// What stands at a name, a link with all that it leads to.
std::string Standing(const std::string& path) {
    switch (fs::symlink_status(path).type()) {
    case fs::file_type::regular: return ReadFile(path);
    case fs::file_type::symlink: return "link to " + Standing(fs::read_symlink(path));
    case fs::file_type::directory: return "directory";
    case fs::file_type::not_found: return "nothing";
    default: return "special file";
    }
}

class NeighbourTest : public Installation {
protected:
    bool WasHit() const { return m_plan->WasHit(); }
    std::size_t HitCall() const {
        return First([](const Step& step) { return step.hit; });
    }
    std::size_t OpeningToWrite() const { return First(&Step::OpensLiveToWrite); }
};

// A run that succeeds has made its edit to one whole version of the file, which the copy holds; one that fails leaves
// what the neighbour made. An edit before the opening for the save is never lost.
TEST_F(NeighbourTest, NoEditIsLost) {
    const std::pair<const char*, std::function<void()>> edits[] = {
        {"append", [&] { std::ofstream(m_live, std::ios::app) << more; }},
        {"cut", [&] { fs::resize_file(m_live, 900); }},
        {"keep the size", [&] { std::fstream(m_live).seekp(15) << 9; }},
    };
    for (const auto& [name, edit] : edits) {
        SCOPED_TRACE(name);
        const auto after = [&, &edit = edit](const std::string& text) {
            WriteFile(m_live, text);
            edit();
            return ReadFile(m_live);
        };
        Lay(growth);
        const std::string changedLater = after(growth.edited);
        const std::string changed = after(growth.live);
        EXPECT_EQ(Run(growth).status, 0);
        const std::string changedBefore = ReadFile(m_live);
        BeforeEachCall(growth, edit, [&](const Outcome& outcome) {
            const std::string live = ReadFile(m_live);
            const bool isMidSave = Did([](const Step& step) { return step.hit && step.call == "ftruncate64"; });
            if (outcome.status == 1) {
                EXPECT_EQ(live, changed);
                EXPECT_TRUE(Claims(7947) && Claims(HasWholeCopy(growth) ? 7943 : 7945));
            } else if (WasHit() && HitCall() <= OpeningToWrite()) {
                EXPECT_EQ(live, changedBefore);
                EXPECT_EQ(ReadFile(m_copy), changed);
            } else if (!isMidSave) {
                EXPECT_EQ((std::set<std::string>{growth.edited, changedBefore, changedLater}.count(live)), 1) << live;
            }
        });
    }
}

// What changes neither the bytes nor the file, and empty directories of copies that go before they are locked.
TEST_F(NeighbourTest, HarmlessNeighboursDoNoHarm) {
    const std::string copies = fs::path(m_copy).parent_path();
    const auto removeUnlocked = [&] {
        if (!Did([&](const Step& step) { return step.call == "flock" && step.path == copies; })) {
            rmdir(copies.c_str());
            rmdir((m_dir / "backups/t").c_str());
        }
    };
    const std::pair<const char*, std::function<void()>> neighbours[] = {
        {"touch", [&] { utimensat(AT_FDCWD, m_live.c_str(), nullptr, 0); }},
        {"chmod", [&] { fs::permissions(m_live, fs::perms(0400)); }},
        {"link", [&] { fs::create_hard_link(m_live, m_dir / "filler"); }},
        {"rmdir", removeUnlocked},
    };
    for (const auto& [name, neighbour] : neighbours) {
        SCOPED_TRACE(name);
        BeforeEachCall(growth, neighbour, [&](const Outcome& outcome) {
            EXPECT_EQ(outcome.status, 0);
            EXPECT_EQ(Check(growth, outcome), "new");
            EXPECT_TRUE(HasWholeCopy(growth));
        });
    }
}

// On an overlay, a file gets another number when it is first opened for writing.
TEST_F(NeighbourTest, AFileMayGetAnotherNumber) {
    const TempDir lower;
    const std::string agent = m_dir / "agent";
    for (const Case& run : {growth, failedSave}) {
        Lay(run);
        WriteFile(lower / "Global.qxc", run.live);
        for (const char* const name : {"upper/upper", "upper/work"}) {
            fs::create_directories(m_dir / name);
        }
        const std::string options =
            "lowerdir=" + lower / "" + ",upperdir=" + m_dir / "upper/upper" + ",workdir=" + m_dir / "upper/work";
        if (!m_mounted || mount("none", agent.c_str(), "overlay", 0, options.c_str()) != 0) {
            GTEST_SKIP() << "no overlay can be mounted here";
        }
        const Outcome outcome = Run(run);
        EXPECT_EQ(outcome.status, run.failing.empty() ? 0 : 1);
        EXPECT_EQ(Live(run), run.failing.empty() ? "new" : "old");
        EXPECT_EQ(umount(agent.c_str()), 0);
    }
}

const Case refused = {"Refused", "-r", "ORACLE", original + "no key\r\n", ""};

// Two installations with one backup directory take turns, so none gets the text of the other.
TEST_F(NeighbourTest, InstallationsShareABackupDirectory) {
    const std::string file = m_dir / "other/Global.qxc";
    const auto otherRun = [&] {
        static Plan plan;
        std::vector<std::string> words = {"PlugSetter",        "-u", "ORACLE_RMAN", m_dir / "other",
                                          m_dir / "backups/t", "log"};
        runPlan = &plan;
        return runPlugSetter(6, Pointers(words).data());
    };
    // A process that is not in the middle of a run makes the other runs when it is asked to.
    int ends[2] = {-1, -1};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    char word = 0;
    Child other([&] {
        close(ends[0]);
        while (read(ends[1], &word, 1) == 1) {
            Child(otherRun).Wait();
            EXPECT_EQ(write(ends[1], &word, 1), 1);
        }
        return 0;
    });
    for (const Case& run : {refused, failedSave, growth}) {
        std::set<std::string> found;
        const auto makeOtherRun = [&] {
            WriteFile(file, unregistration.live);
            EXPECT_EQ(write(ends[0], &word, 1), 1);
            EXPECT_EQ(read(ends[0], &word, 1), 1);
        };
        BeforeEachCall(run, makeOtherRun, [&](const Outcome& outcome) {
            const bool mustFail = run.edited.empty() || !run.failing.empty();
            EXPECT_EQ(outcome.status, mustFail ? 1 : 0);
            EXPECT_EQ(Live(run), mustFail ? "old" : "new");
            if (WasHit()) {
                const std::string known = Known(unregistration, ReadFile(file));
                const bool waited = ReadFile(m_dir / "other/log").find("ID=\"7947\"") != std::string::npos;
                EXPECT_EQ(known, waited ? "old" : "new");
                found.insert(known);
            }
        });
        EXPECT_EQ(found, (std::set<std::string>{"old", "new"})) << run;
    }
    close(ends[0]);
    close(ends[1]);
    other.Wait();
}

enum class Place { file, copy, temporary, directory, log };

/// Somebody puts another thing in a place. What stood there gets the name "aside".
struct Swap {
    const char* name;
    Place place;
    std::function<void(const std::string& at)> make; ///< none: nothing comes

    friend std::ostream& operator<<(std::ostream& out, const Swap& swap) { return out << swap.name; }
};

auto File(const std::string& text) {
    return [=](const std::string& at) {
        WriteFile(at, text);
        EXPECT_EQ(lchown(at.c_str(), stranger, stranger), 0);
    };
}

auto Link(const char* target, uid_t owner) {
    return [=](const std::string& at) {
        fs::create_symlink(fs::path(at).parent_path() / target, at);
        EXPECT_EQ(lchown(at.c_str(), owner, owner), 0);
    };
}

void Fifo(const std::string& at) {
    mkfifo(at.c_str(), 0600);
}

// clang-format off
const Swap swaps[] = {
    {"Corrected",        Place::file,      File(corrected)},
    {"StrangersLink",    Place::file,      Link("secret", stranger)},
    {"RootsLink",        Place::file,      Link("corrected", 0)},
    {"Fifo",             Place::file,      Fifo},
    {"Directory",        Place::file,      [](const std::string& at) { fs::create_directory(at); }},
    {"Gone",             Place::file,      {}},
    {"CopyOfStranger",   Place::copy,      File(secret)},
    {"CopyLink",         Place::copy,      Link("secret", stranger)},
    {"CopyGone",         Place::copy,      {}},
    {"NewCopyOfStranger", Place::temporary, File(secret)},
    {"NewCopyLink",      Place::temporary, Link("secret", stranger)},
    {"NewCopyGone",      Place::temporary, {}},
    {"DirectoryLink",    Place::directory, Link("victim", stranger)},
    {"DirectoryGone",    Place::directory, {}},
    {"LogLink",          Place::log,       Link("secret", stranger)},
    {"LogOfStranger",    Place::log,       File(secret)},
};
// clang-format on

class SwapTest : public NeighbourTest, public testing::WithParamInterface<std::pair<Swap, Case>> {
protected:
    const Swap& m_swap = GetParam().first;
    const Case& m_case = GetParam().second;
    std::string m_put;    ///< what the neighbour puts in the place
    std::string m_edited; ///< the same after a run

    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root makes what belongs to others";
        }
    }

    std::string Path() const {
        switch (m_swap.place) {
        case Place::file: return m_live;
        case Place::copy: return m_copy;
        case Place::directory: return fs::path(m_copy).parent_path();
        case Place::log: return m_log;
        case Place::temporary: break;
        }
        std::error_code missing;
        for (const auto& entry : fs::directory_iterator(fs::path(m_copy).parent_path(), missing)) {
            if (entry.path() != m_copy) {
                return entry.path();
            }
        }
        return "";
    }

    void Put() const {
        for (const auto& [path, text] : {std::pair(m_dir / "secret", secret), std::pair(m_dir / "corrected", corrected),
                                         std::pair(m_dir / "victim/Global.qxc", std::string("victim"))}) {
            WriteFile(path, text);
            fs::permissions(path, fs::perms(0600));
        }
        if (m_swap.make) {
            m_swap.make(m_dir / "swap");
        }
        std::error_code missing;
        fs::rename(Path(), m_dir / "aside", missing);
        fs::rename(m_dir / "swap", Path(), missing);
    }

    /// A FIFO waits for a writer when it is opened at first: it is put later.
    bool ComesLater() const { return m_swap.place == Place::file && m_put == "special file"; }

    void PutInTime() const {
        if (!ComesLater() || Did([](const Step& step) { return !step.hit && step.OpensLive(); })) {
            Put();
        }
    }

    void LearnWhatIsPut() {
        Lay(m_case);
        Put();
        m_put = Standing(m_live);
        if (!ComesLater()) {
            Run(m_case);
        }
        m_edited = Standing(m_live);
    }

    void JudgeFile(const Outcome& outcome) const {
        const std::size_t hit = HitCall();
        const std::string standing = Standing(m_live);
        if (hit <= First(&Step::OpensLive)) {
            const bool isEdited = outcome.status == 0 && standing == m_edited;
            EXPECT_TRUE(standing == m_put || isEdited || ComesLater()) << standing;
            if (m_put == corrected && hit > First(&Step::IsLive)) {
                EXPECT_TRUE(Claims(7947) && Claims(7945)) << "the log was opened for the readers of another file";
            }
            return;
        }
        EXPECT_EQ(standing, m_put) << "somebody's edit is lost";
        if (hit <= OpeningToWrite()) {
            EXPECT_EQ(outcome.status, 1) << "saves what is not the file";
        }
        EXPECT_EQ(Known(m_case, ReadFile(m_dir / "aside")), outcome.status == 0 ? "new" : "old");
        const bool looks = First([](const Step& step) { return step.byName && step.IsLive(); }, hit) != never;
        if (outcome.status == 1 && looks && fs::exists(m_copy)) {
            EXPECT_TRUE(Claims(7943) && !Claims(7945)) << "says that it was put back";
        }
    }

    /// What stands at the other names has nothing to do with the file.
    void JudgeOther(const Outcome& outcome) const {
        EXPECT_EQ(Live(m_case), outcome.status == 0 ? "new" : "old");
        EXPECT_FALSE(Claims(7943));
    }

    void JudgeBystanders() const {
        if (fs::exists(m_dir / "secret")) {
            EXPECT_EQ(ReadFile(m_dir / "secret"), secret);
            EXPECT_EQ(ReadFile(m_dir / "victim/Global.qxc"), "victim");
            EXPECT_TRUE(IsPrivate(m_dir / "secret"));
        }
        if (m_swap.place != Place::log) {
            EXPECT_EQ(ReadFile(m_log).find("secret"), std::string::npos) << "a secret is quoted";
        }
    }
};

TEST_P(SwapTest, GoesByWhatThingsAre) {
    LearnWhatIsPut();
    BeforeEachCall(
        m_case, [&] { PutInTime(); },
        [&](const Outcome& outcome) {
            if (!WasHit()) {
                return;
            }
            m_swap.place == Place::file ? JudgeFile(outcome) : JudgeOther(outcome);
            JudgeBystanders();
        });
}

std::vector<std::pair<Swap, Case>> SwapsInCases() {
    std::vector<std::pair<Swap, Case>> all;
    for (const Swap& swap : swaps) {
        for (const Case& run : {refused, failedSave, growth}) {
            all.emplace_back(swap, run);
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(, SwapTest, testing::ValuesIn(SwapsInCases()), [](const auto& test) {
    return std::string(test.param.second.name) + "_" + test.param.first.name;
});

} // namespace
