#include "tests/faults/Installation.h"

#include "PlugSetter/Run.h"
#include "tests/support/Records.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <new>
#include <regex>

#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

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

// A sanitizer's usual status would pass for that of a failed run.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" const char* __asan_default_options() {
    return "exitcode=99";
}

Installation::Installation()
    : m_mounted(HasOwnMounts() && mount("none", (m_dir / "").c_str(), "tmpfs", 0, "size=512k") == 0),
      m_copy(m_dir / "backups/t/" + NodeName() + "/Global.qxc"), m_plan(SharedPlan()) {
    std::filesystem::current_path(m_dir / "");
}

Installation::~Installation() {
    std::filesystem::current_path(m_before);
    m_plan->~Plan();
    munmap(m_plan, sizeof(Plan));
    if (m_mounted) {
        umount((m_dir / "").c_str());
    }
}

void Installation::Lay(const Case& run) const {
    std::filesystem::remove_all(m_dir / "agent");
    std::filesystem::remove_all(m_dir / "backups");
    WriteFile(m_live, run.live);
    if (run.place == Case::Place::fifo || run.place == Case::Place::itself) {
        std::filesystem::create_directories(std::filesystem::path(m_copy).parent_path());
        for (const std::string& copy : {m_copy, m_namelessCopy}) {
            run.place == Case::Place::fifo ? static_cast<void>(mkfifo(copy.c_str(), 0600))
                                           : std::filesystem::create_symlink(m_live, copy);
        }
    } else if (!run.earlierCopy.empty()) {
        WriteFile(m_copy, run.earlierCopy);
    }
    if (run.place == Case::Place::link) {
        std::filesystem::rename(m_copy, m_copy + ".linked");
        std::filesystem::create_symlink("Global.qxc.linked", m_copy);
    }
}

std::function<int()> Installation::Tool(std::vector<std::string> arguments, Plan* plan) {
    arguments.insert(arguments.begin(), "PlugSetter");
    return [words = std::move(arguments), plan]() mutable {
        std::vector<char*> pointers = Pointers(words);
        runPlan = plan;
        const int status = runPlugSetter(static_cast<int>(words.size()), pointers.data());
        runPlan = nullptr;
        return status;
    };
}

Outcome Installation::Run(const Case& run, const Plan& plan) const {
    *m_plan = plan;
    m_plan->failing = run.failing;
    return Child(Tool({run.option, run.plugin, Agent(run), Backups(run), "run.xlog"}, m_plan)).Wait();
}

std::string Installation::Known(const Case& run, const std::string& text) {
    if (text == run.live) {
        return "old";
    }
    const bool isNew = !run.edited.empty() && text.starts_with(run.edited) &&
                       text.find_first_not_of('\n', run.edited.size()) == std::string::npos;
    return !isNew ? "other" : text.size() == run.edited.size() ? "new" : "new, uncut";
}

std::string Installation::Copy(const Case& run) const {
    const std::string& copy = std::filesystem::exists(m_namelessCopy) ? m_namelessCopy : m_copy;
    return std::filesystem::is_regular_file(copy) ? Known(run, ReadFile(copy)) : "none";
}

bool Installation::Claims(int number) const {
    return ReadFile(m_log).find("ID=\"" + std::to_string(number) + "\"") != std::string::npos;
}

std::string Installation::BrokenPromises(const Case& run, const Outcome& outcome, bool untouched) const {
    const std::string live = Live(run);
    const bool hasCopy = live == "old" || Copy(run) == "old";
    std::string broken = IsWellFormed(ReadFile(m_log)) ? "" : "; the log is torn";
    broken += Claims(7945) && live != "old" ? "; the log says that the file was put back" : "";
    broken += hasCopy ? "" : "; the copy is lost";
    if (outcome.signal != 0) {
        const auto sent = {SIGKILL, SIGTERM, SIGINT, SIGHUP, SIGQUIT};
        broken += std::count(sent.begin(), sent.end(), outcome.signal) == 0 ? "; the run crashed or hung"
                  : live == "old" || outcome.signal == SIGKILL              ? ""
                                                                            : "; the signal did not wait";
    } else if (outcome.status == 0) {
        broken += (live == "new" || (live == "old" && untouched)) ? "" : "; the run succeeded";
    } else {
        broken += outcome.status == 1 ? "" : "; no such exit status";
        // The last record is the command line: without it the log is not whole.
        broken +=
            live == "old" || Claims(7943) || !Claims(7962) ? "" : "; the log does not say that the file is spoilt";
    }
    return broken;
}

std::string Installation::Check(const Case& run, const Outcome& outcome, bool untouched, bool maySpoil) {
    std::string live = Live(run);
    const bool killed = outcome.signal != 0;
    const std::string kind = (killed ? "signal " : "exit ") + std::to_string(killed ? outcome.signal : outcome.status) +
                             ", " + live + (Claims(7945) ? ", put back" : "") + (Claims(7943) ? ", not put back" : "");
    const std::string broken =
        BrokenPromises(run, outcome, untouched) + (live == "other" && !maySpoil ? "; the file is spoilt" : "");
    EXPECT_EQ(broken, "") << kind << "\n" << outcome.output << outcome.errors << CallsAndLog();
    return live;
}

bool Installation::Did(const std::function<bool(const Step&)>& what) const {
    return std::any_of(m_plan->steps, m_plan->steps + m_plan->stepCount, what);
}

std::string Installation::CallsAndLog() const {
    std::string text;
    for (const Step& step : std::vector(m_plan->steps, m_plan->steps + m_plan->stepCount)) {
        text +=
            std::to_string(step.number) + (step.hit ? " HIT " : " ") + std::string(step.call) + " " + step.path + "\n";
    }
    return text + ReadFile(m_log);
}
