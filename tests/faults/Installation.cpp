#include "tests/faults/Installation.h"

#include "tests/support/Records.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstring>
#include <iostream>
#include <regex>
#include <stdexcept>

#include <sched.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/wait.h>

namespace {

std::string NodeName() {
    utsname host = {};
    uname(&host);
    const std::string name = host.nodename;
    return name.substr(0, name.find('.'));
}

std::string NameOf(int descriptor) {
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(descriptor);
}

/// True when what this process mounts is seen by nobody else and goes with it, however it ends.
bool HasOwnMounts() {
    static const bool result =
        unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return result;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// True when each complete line is a record; the last one may be unfinished. Without a clock the time is unknown.
bool IsWellFormed(const std::string& log) {
    static const std::regex unknown("00-000-0000 00:00:00 \\+0000");
    const std::string complete = log.substr(0, log.rfind('\n') + 1);
    const auto records = Records(std::regex_replace(complete, unknown, "2000-01-01T00:00:00. 0+00:00"));
    return !testing::Matches(testing::Contains(testing::StartsWith("?")))(records);
}

} // namespace

long Setting(const char* name, long usual) {
    const char* const text = std::getenv(name);
    return text == nullptr ? usual : std::atol(text);
}

Installation::Installation()
    : m_mounted(HasOwnMounts() && mount("none", (m_dir / "").c_str(), "tmpfs", 0, "size=512k") == 0),
      m_copy(m_dir / "backups/t/" + NodeName() + "/Global.qxc"),
      m_plan(ftruncate(m_planMemory, sizeof(Plan)) == 0 ? MapPlan(NameOf(m_planMemory).c_str()) : nullptr) {
    std::filesystem::current_path(m_dir / "");
}

Installation::~Installation() {
    std::filesystem::current_path(m_before);
    munmap(m_plan, sizeof(Plan));
    close(m_planMemory);
    close(m_outputMemory);
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
    if (run.place == Case::Place::link) {
        std::filesystem::rename(m_copy, m_copy + ".linked");
        std::filesystem::create_symlink("Global.qxc.linked", m_copy);
    }
}

pid_t Installation::Start(std::vector<std::string> arguments, std::vector<std::string> environment) const {
    // A sanitizer's usual status would pass for that of a failed run.
    environment.emplace_back("ASAN_OPTIONS=verify_asan_link_order=0:exitcode=99");
    arguments.insert(arguments.begin(), TOOL);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, NameOf(m_outputMemory).c_str(), O_WRONLY | O_TRUNC | O_APPEND, 0);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    // Whoever runs the tests in the background has some signals ignored.
    sigset_t every;
    sigfillset(&every);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigdefault(&attributes, &every);
    pid_t process = 0;
    const int error =
        posix_spawn(&process, TOOL, &actions, &attributes, Pointers(arguments).data(), Pointers(environment).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("the tool cannot be started");
    }
    return process;
}

Outcome Installation::Wait(pid_t process) const {
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, WIFSIGNALED(status) ? WTERMSIG(status) : 0,
            ReadFile(NameOf(m_outputMemory)), ""};
}

Outcome Installation::Run(const Case& run, std::vector<std::string> environment) const {
    return Wait(Start({run.option, run.plugin, Agent(run), Backups(run), "run.xlog"}, std::move(environment)));
}

Outcome Installation::Run(const Case& run, const Plan& plan) const {
    *m_plan = plan;
    std::strncpy(m_plan->failing, run.failing, sizeof m_plan->failing - 1);
    // LD_PRELOAD takes no path with a space.
    return Run(run,
               {"LD_PRELOAD=" INTERPOSER, "LD_LIBRARY_PATH=" INTERPOSER_DIR, "FAULT_PLAN=" + NameOf(m_planMemory)});
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
