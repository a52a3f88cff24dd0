#include "tests/faults/Installation.h"

#include "Mis/Unix/FileStatus.h"
#include "PlugSetter/Run.h"
#include "tests/support/Records.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <new>
#include <regex>
#include <set>
#include <stdexcept>

#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using testing::AnyOf;

/// True when what this process mounts is seen by nobody else and goes with it, however it ends.
bool HasOwnMounts() {
    static const bool result =
        unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return result;
}

Plan* SharedPlan() {
    return new (mmap(nullptr, sizeof(Plan), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Plan;
}

/// True when each complete line is a record; the last one may be unfinished. Without a clock the time is unknown.
bool IsWellFormed(const std::string& log) {
    static const std::regex unknown("00-000-0000 00:00:00 \\+0000");
    const std::string complete = log.substr(0, log.rfind('\n') + 1);
    const auto records = Records(std::regex_replace(complete, unknown, "2000-01-01T00:00:00. 0+00:00"));
    return !testing::Matches(testing::Contains(testing::StartsWith("?")))(records);
}

} // namespace

Installation::Installation()
    : m_mounted(HasOwnMounts() && mount("none", (m_dir / "").c_str(), "tmpfs", 0, "size=512k") == 0),
      m_copy(m_dir / "backups/t/" + NodeName() + "/Global.qxc"), m_plan(SharedPlan()) {
    fs::current_path(m_dir / "");
}

Installation::~Installation() {
    std::cout << (HasFailure() ? CallsAndLog() : "");
    fs::current_path("/");
    m_plan->~Plan();
    munmap(m_plan, sizeof(Plan));
    if (m_mounted) {
        umount((m_dir / "").c_str());
    }
}

void Installation::Lay(const Case& run) {
    if (HasFailure()) {
        throw std::runtime_error("the last run is shown below");
    }
    for (const auto& entry : fs::directory_iterator(m_dir / "")) {
        fs::remove_all(entry);
    }
    WriteFile(m_live, run.live);
    fs::permissions(m_live, fs::perms(0600));
    m_room = FileStatus::Of(m_live).Allocated();
    mkfifo((m_dir / "fifo").c_str(), 0600);
    for (const std::string& copy : {m_copy, m_namelessCopy}) {
        if (*run.link != '\0') {
            fs::create_directories(fs::path(copy).parent_path());
            fs::create_symlink(m_dir / run.link, copy);
        }
    }
    if (!run.earlierCopy.empty()) {
        WriteFile(m_copy, run.earlierCopy);
    }
}

Outcome Installation::Run(const Case& run, const Plan& plan) const {
    *m_plan = plan;
    m_plan->failing = run.failing;
    const std::string above = run.relative ? "" : m_dir / "";
    std::vector<std::string> words = {"PlugSetter",    run.option,          run.plugin,
                                      above + "agent", above + "backups/t", "run.xlog"};
    std::vector<char*> arguments = Pointers(words);
    const auto tool = [&] {
        runPlan = m_plan;
        const int status = runPlugSetter(6, arguments.data());
        runPlan = nullptr;
        return status;
    };
    Outcome outcome = Child(tool).Wait();
    EXPECT_THAT(outcome.signal, AnyOf(0, SIGKILL, SIGTERM, SIGINT, SIGHUP, SIGQUIT)) << "the run crashed or hung";
    return outcome;
}

void Installation::ForEachCall(const Case& run, Plan plan, const std::function<void(const Outcome&)>& judge,
                               long least) {
    const char* const byHand = std::getenv("FAULT_CALL");
    plan.first = byHand == nullptr ? 1 : std::atol(byHand);
    do {
        Lay(run);
        judge(Run(run, plan));
        ++plan.first;
    } while (byHand == nullptr && m_plan->WasHit());
    EXPECT_TRUE(byHand != nullptr || m_plan->first > least) << m_plan->first;
    std::cout << (byHand == nullptr ? "" : CallsAndLog());
}

std::string Installation::Known(const Case& run, const std::string& text) {
    if (text == run.live) {
        return "old";
    }
    const bool isNew = !run.edited.empty() && text.starts_with(run.edited) &&
                       text.find_first_not_of('\n', run.edited.size()) == std::string::npos;
    return !isNew ? "other" : text.size() == run.edited.size() ? "new" : "new, uncut";
}

bool Installation::HasWholeCopy(const Case& run) const {
    const std::string& copy = fs::exists(m_namelessCopy) ? m_namelessCopy : m_copy;
    return fs::is_regular_file(copy) && ReadFile(copy) == run.live;
}

bool Installation::Claims(int record) const {
    return ReadFile(m_log).find("ID=\"" + std::to_string(record) + "\"") != std::string::npos;
}

bool Installation::IsPrivate(const std::string& path) {
    return (FileStatus::Of(path).Permissions() & 077U) == 0;
}

std::string Installation::Check(const Case& run, const Outcome& outcome, bool untouched, bool maySpoil) const {
    std::string live = Live(run);
    const bool isOld = live == "old";
    const bool killed = outcome.signal == SIGKILL;
    SCOPED_TRACE("the file is " + live + "\n" + outcome.output);
    EXPECT_THAT(outcome.status, AnyOf(-1, 0, 1));
    EXPECT_TRUE(outcome.status >= 0 || isOld || killed) << "the signal did not wait";
    EXPECT_TRUE(outcome.status != 0 || live == "new" || (isOld && untouched)) << "the run succeeded";
    // The last record is the command line: without it the log is not whole.
    EXPECT_TRUE(outcome.status != 1 || isOld || Claims(7943) || !Claims(7962)) << "nothing says that it is spoilt";
    EXPECT_TRUE(isOld || !Claims(7945)) << "the log says that it was put back";
    EXPECT_TRUE(live != "other" || maySpoil);
    EXPECT_TRUE(isOld || HasWholeCopy(run));
    EXPECT_TRUE(IsWellFormed(ReadFile(m_log)));
    CheckOtherFiles(run);
    return live;
}

void Installation::CheckOtherFiles(const Case& run) const {
    const std::set<std::string> secrets = {m_copy, m_namelessCopy, m_log, m_dir / "linked", m_dir / "fifo"};
    for (const auto& entry : fs::recursive_directory_iterator(m_dir / "")) {
        const std::string path = entry.path();
        const bool isSecret = secrets.count(path) == 1;
        EXPECT_TRUE(isSecret || entry.is_directory() || path == m_live || path == m_filler) << path;
        // What is private may be a FIFO, which is not read. A file that is said to be missing has no access to give.
        EXPECT_TRUE(!isSecret || IsPrivate(path) || ReadFile(path) == run.earlierCopy || m_plan->FailsBy(ENOENT))
            << path;
    }
}

bool Installation::Did(const std::function<bool(const Step&)>& what) const {
    const auto steps = m_plan->Steps();
    return std::any_of(steps.begin(), steps.end(), what);
}

/// The calls of the last run, and its log.
std::string Installation::CallsAndLog() const {
    std::string text;
    for (const Step& step : m_plan->Steps()) {
        text +=
            std::to_string(step.number) + (step.hit ? " HIT " : " ") + std::string(step.call) + " " + step.path + "\n";
    }
    return text + ReadFile(m_log);
}
