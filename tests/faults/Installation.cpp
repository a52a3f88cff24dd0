#include "tests/faults/Installation.h"

#include "PlugSetter/Run.h"
#include "tests/support/Records.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <new>
#include <regex>

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string NodeName() {
    utsname host = {};
    uname(&host);
    const std::string name = host.nodename;
    return name.substr(0, name.find('.'));
}

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

long Setting(const char* name, long usual) {
    const char* const text = std::getenv(name);
    return text == nullptr ? usual : std::atol(text);
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
    for (const auto& [kind, count] : m_tally) {
        std::cout << count << " x " << kind << "\n";
    }
}

void Installation::Lay(const Case& run) const {
    std::filesystem::remove_all(m_dir / "agent");
    std::filesystem::remove_all(m_dir / "backups");
    WriteFile(m_live, run.live);
    if (run.place == Case::Place::fifo) {
        std::filesystem::create_directories(std::filesystem::path(m_copy).parent_path());
        mkfifo(m_copy.c_str(), 0600);
        mkfifo(m_namelessCopy.c_str(), 0600);
    } else if (!run.earlierCopy.empty()) {
        WriteFile(m_copy, run.earlierCopy);
    }
    if (run.place == Case::Place::itself) {
        std::filesystem::create_directories(std::filesystem::path(m_copy).parent_path());
        std::filesystem::create_symlink(m_live, m_copy);
        std::filesystem::create_symlink(m_live, m_namelessCopy);
    } else if (run.place == Case::Place::link) {
        std::filesystem::rename(m_copy, m_copy + ".linked");
        std::filesystem::create_symlink("Global.qxc.linked", m_copy);
    }
}

pid_t Installation::Start(std::vector<std::string> arguments, Plan* plan) const {
    arguments.insert(arguments.begin(), "PlugSetter");
    std::vector<char*> words(arguments.size());
    std::transform(arguments.begin(), arguments.end(), words.begin(), [](std::string& word) { return word.data(); });
    std::fflush(stdout);
    const pid_t process = fork();
    if (process == 0) {
        // Whoever runs the tests in the background has some of them ignored.
        for (const int number : {SIGHUP, SIGINT, SIGQUIT}) {
            std::signal(number, SIG_DFL);
        }
        dup2(creat(m_output.c_str(), 0600), STDOUT_FILENO);
        dup2(STDOUT_FILENO, STDERR_FILENO);
        alarm(60);
        runPlan = plan;
        const int status = runPlugSetter(static_cast<int>(words.size()), words.data());
        runPlan = nullptr;
        std::exit(status);
    }
    return process;
}

pid_t Installation::Start(const Case& run, Plan* plan) const {
    return Start({run.option, run.plugin, Agent(run), Backups(run), "run.xlog"}, plan);
}

Outcome Installation::Wait(pid_t process) const {
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, WIFSIGNALED(status) ? WTERMSIG(status) : 0,
            ReadFile(m_output), ""};
}

Outcome Installation::Run(const Case& run, const Plan& plan) const {
    *m_plan = plan;
    m_plan->failing = run.failing;
    return Wait(Start(run, m_plan));
}

Case Installation::WithEdit(Case run) const {
    Lay(run);
    EXPECT_EQ(Run(run).status, 0);
    run.edited = ReadFile(m_live);
    EXPECT_NE(run.edited, run.live);
    return run;
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
    ++m_tally[run.name + (": " + kind)];
    const std::string broken =
        BrokenPromises(run, outcome, untouched) + (live == "other" && !maySpoil ? "; the file is spoilt" : "");
    EXPECT_EQ(broken, "") << kind << "\n" << outcome.output << CallsAndLog();
    return live;
}

bool Installation::Did(const std::function<bool(const Step&)>& what) const {
    return std::any_of(m_plan->steps, m_plan->steps + m_plan->stepCount, what);
}

std::string Installation::CallsAndLog() const {
    std::string text;
    for (const Step& step : std::vector(m_plan->steps, m_plan->steps + m_plan->stepCount)) {
        text += std::to_string(step.number) + (step.hit ? " HIT " : " ") + step.call + " " + step.path + "\n";
    }
    return text + ReadFile(m_log);
}
