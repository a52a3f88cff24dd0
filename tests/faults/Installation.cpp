#include "tests/faults/Installation.h"

#include "tests/support/Records.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstring>
#include <regex>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/utsname.h>

namespace {

std::string NodeName() {
    utsname host = {};
    uname(&host);
    const std::string name = host.nodename;
    return name.substr(0, name.find('.'));
}

} // namespace

long Setting(const char* name, long usual) {
    const char* const text = std::getenv(name);
    return text == nullptr ? usual : std::atol(text);
}

Installation::Installation() : m_copy(m_dir / "backups/today/" + NodeName() + "/Global.qxc") {
    std::filesystem::current_path(m_dir / "");
}

Installation::~Installation() {
    std::filesystem::current_path(m_before);
    munmap(m_plan, sizeof(Plan));
    if (m_mounted) {
        umount((m_dir / "").c_str());
    }
}

bool Installation::Mount() {
    m_mounted = mount("none", (m_dir / "").c_str(), "tmpfs", 0, "size=8m") == 0;
    return m_mounted;
}

void Installation::Lay(const Case& run) const {
    std::filesystem::remove_all(m_dir / "agent");
    std::filesystem::remove_all(m_dir / "backups");
    WriteFile(m_live, run.live);
    if (run.place == Case::link) {
        WriteFile(m_copy, "");
        std::filesystem::rename(m_copy, m_namelessCopy + ".linked");
        std::filesystem::create_symlink("../Global.qxc.linked", m_copy);
    } else if (run.place == Case::fifo) {
        WriteFile(m_copy, "");
        std::filesystem::remove(m_copy);
        mkfifo(m_copy.c_str(), 0600);
    } else if (!run.earlierCopy.empty()) {
        WriteFile(m_copy, run.earlierCopy);
    }
}

Case Installation::WithEdit(Case run) const {
    Lay(run);
    EXPECT_EQ(Run(run).status, 0);
    run.edited = ReadFile(m_live);
    EXPECT_NE(run.edited, run.live);
    return run;
}

std::vector<std::string> Installation::Arguments(const Case& run) const {
    const std::string parent = run.place == Case::relative ? "" : m_dir / "";
    return {TOOL, run.option, run.plugin, parent + "agent", parent + "backups/today", "run.xlog"};
}

Outcome Installation::Run(const Case& run, const std::vector<std::string>& environment) const {
    return RunProgram(Arguments(run), environment);
}

Outcome Installation::Run(const Case& run, const Plan& plan) const {
    *m_plan = plan;
    std::strncpy(m_plan->failing, run.failing, sizeof m_plan->failing - 1);
    // A sanitizer's usual status would pass for that of a failed run.
    // LD_PRELOAD takes no path with a space.
    return Run(run, {"LD_PRELOAD=" INTERPOSER, "LD_LIBRARY_PATH=" INTERPOSER_DIR, "FAULT_PLAN=" + m_planFile,
                     "ASAN_OPTIONS=verify_asan_link_order=0:exitcode=99"});
}

std::string Installation::Known(const Case& run, const std::string& text) {
    if (text == run.live) {
        return "old";
    }
    const bool isNew = !run.edited.empty() && text.compare(0, run.edited.size(), run.edited) == 0 &&
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

std::string Installation::Kind(const Case& run, const Outcome& outcome) const {
    const std::string end =
        outcome.signal == 0 ? "exit " + std::to_string(outcome.status) : "signal " + std::to_string(outcome.signal);
    return end + ", " + Live(run) + (Claims(7945) ? ", put back" : "") + (Claims(7943) ? ", not put back" : "");
}

namespace {

/// True when each complete line is a record; the last one may be unfinished. Without a clock the time is unknown.
bool IsWellFormed(const std::string& log) {
    static const std::regex unknown("00-000-0000 00:00:00 \\+0000");
    const std::string complete = log.substr(0, log.rfind('\n') + 1);
    const auto records = Records(std::regex_replace(complete, unknown, "2000-01-01T00:00:00. 0+00:00"));
    return !testing::Matches(testing::Contains(testing::StartsWith("?")))(records);
}

} // namespace

std::string Installation::Lies(const Case& run, const Outcome& outcome, bool untouched) const {
    const std::string live = Live(run);
    const bool saved = live == "new" && Copy(run) == "old";
    const bool logIsWhole = Claims(7962);
    std::string lies;
    if (!IsWellFormed(ReadFile(m_log))) {
        lies += "; the log is torn";
    }
    if (Claims(7945) && live != "old") {
        lies += "; the log says that the file was put back";
    }
    if (outcome.signal != 0) {
        const bool killed = outcome.signal == SIGKILL && live != "other" && Copy(run) == "old";
        lies += live == "old" || killed ? "" : "; the file is spoilt, or the copy";
    } else if (outcome.status == 0) {
        lies += saved || (live == "old" && untouched) ? "" : "; the run succeeded";
    } else if (outcome.status != 1) {
        lies += "; no such exit status";
    } else if (live != "old" && (Copy(run) != "old" || (logIsWhole && !Claims(7943)))) {
        lies += "; the file is spoilt, and the copy too, or the log does not say so";
    }
    return lies;
}

void Installation::Expect(const Case& run, const std::string& lies, const Outcome& outcome) const {
    EXPECT_EQ(lies, "") << outcome.output << outcome.errors << Story(run);
}

std::string Installation::Story(const Case& run) const {
    std::string story;
    for (long i = 0; i < m_plan->stepCount; ++i) {
        const Step& step = m_plan->steps[i];
        story += std::to_string(step.number) + (step.hit ? " HIT " : " ") + step.call + " " + step.path + "\n";
    }
    story += ReadFile(m_log);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_dir / "")) {
        story +=
            entry.path().string() + (entry.is_regular_file() ? ", " + Known(run, ReadFile(entry.path())) : "") + "\n";
    }
    return story;
}
