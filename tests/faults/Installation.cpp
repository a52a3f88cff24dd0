#include "tests/faults/Installation.h"

#include "Mis/Unix/FileStatus.h"
#include "PlugSetter/Run.h"
#include "tests/support/Records.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <regex>
#include <set>
#include <stdexcept>

#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

/// True when what this process mounts is seen by nobody else and goes with it, however it ends.
bool HasOwnMounts() {
    static const bool result =
        unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return result;
}

Plan* SharedPlan() {
    return new (mmap(nullptr, sizeof(Plan), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Plan;
}

/// The signals by which a process ends itself.
bool IsCrash(int signal) {
    constexpr int crashes[] = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP};
    return std::count(std::begin(crashes), std::end(crashes), signal) != 0;
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
    fs::last_write_time(m_live, fs::file_time_type::clock::now() - std::chrono::hours(1));
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
    EXPECT_FALSE(IsCrash(outcome.signal)) << strsignal(outcome.signal) << ", " << LastFault(run);
    return outcome;
}

void Installation::ForEachCall(const Case& run, Plan plan, const std::function<void(const Outcome&)>& judge,
                               long least) {
    const char* const byHand = std::getenv("FAULT_CALL");
    plan.first = byHand == nullptr ? 1 : std::atol(byHand);
    do {
        Lay(run);
        const Outcome outcome = Run(run, plan);
        SCOPED_TRACE(LastFault(run) + "\n" + outcome.output);
        judge(outcome);
        ++plan.first;
    } while (byHand == nullptr && m_plan->WasHit());
    EXPECT_TRUE(byHand != nullptr || m_plan->first > least) << m_plan->first;
    std::cout << (byHand == nullptr ? "" : CallsAndLog());
}

std::string Installation::Known(const Case& run, const std::string& text) {
    if (text == run.live) {
        return "old";
    }
    if (run.edited.empty()) {
        return "other";
    }
    if (text.starts_with(run.edited) && text.find_first_not_of('\n', run.edited.size()) == std::string::npos) {
        return text.size() == run.edited.size() ? "new" : "new, uncut";
    }
    return text.size() == run.edited.size() && run.live.starts_with(text) ? "old, cut" : "other";
}

bool Installation::HasWholeCopy(const Case& run) const {
    const std::string& copy = fs::exists(m_namelessCopy) ? m_namelessCopy : m_copy;
    return fs::is_regular_file(copy) && ReadFile(copy) == run.live;
}

bool Installation::Claims(int record) const {
    return Tells(record, {});
}

bool Installation::Tells(int record, const Outcome& outcome) const {
    return (ReadFile(m_log) + outcome.output).find("ID=\"" + std::to_string(record) + "\"") != std::string::npos;
}

bool Installation::IsPrivate(const std::string& path) {
    return (FileStatus::Of(path).Permissions() & 077U) == 0;
}

std::string Installation::Check(const Case& run, const Outcome& outcome, bool untouched, bool maySpoil) const {
    std::string live = Live(run);
    const bool isOld = live == "old";
    SCOPED_TRACE("the file is " + live);
    if (outcome.status == 0) {
        EXPECT_TRUE(live == "new" || (isOld && untouched)) << "the run succeeded";
    } else if (outcome.status == 1) {
        const bool saysSo = outcome.output.find("Message cannot be logged\n") != std::string::npos;
        const bool hadNoMemory = saysSo && m_plan->calls == Only(callMemory);
        EXPECT_TRUE(hadNoMemory || Tells(7961, outcome)) << "nothing says that the run failed";
        EXPECT_TRUE(hadNoMemory || isOld || Tells(7943, outcome)) << "nothing says that it is spoilt";
    }
    EXPECT_THAT(outcome.status, testing::AnyOf(-1, 0, 1));
    if (!isOld) {
        EXPECT_FALSE(Tells(7945, outcome)) << "the log says that it was put back";
        EXPECT_TRUE(HasWholeCopy(run));
    }
    EXPECT_TRUE(live != "other" || maySpoil);
    EXPECT_TRUE(IsWellFormed(ReadFile(m_log)));
    CheckCopy(run);
    CheckOtherFiles(run, outcome.status >= 0);
    return live;
}

/// The copy of the run before stays until the new one is whole. What a link leads to is written over in place.
void Installation::CheckCopy(const Case& run) const {
    const FileStatus entry = FileStatus::OfEntry(m_copy);
    if (entry.IsRegular()) {
        EXPECT_THAT(ReadFile(m_copy), testing::AnyOf(run.live, run.earlierCopy)) << "the copy is in pieces";
    } else if (!entry.IsLink()) {
        EXPECT_EQ(run.earlierCopy, "") << "the earlier copy is gone";
    }
}

/// `isOver`: the run came to its end. Otherwise it may have left the copy that it was making, beside its place.
void Installation::CheckOtherFiles(const Case& run, bool isOver) const {
    const std::set<std::string> secrets = {m_copy, m_namelessCopy, m_log, m_dir / "linked", m_dir / "fifo"};
    const auto removes = [](const Step& step) { return step.hit && step.call.starts_with("unlink"); };
    const bool mayLeave = !isOver || Did(removes);
    for (const auto& entry : fs::recursive_directory_iterator(m_dir / "")) {
        const std::string path = entry.path();
        const bool isLeft = mayLeave && fs::path(path).parent_path() == fs::path(m_copy).parent_path();
        const bool isSecret = secrets.count(path) == 1 || isLeft;
        EXPECT_TRUE(isSecret || entry.is_directory() || path == m_live || path == m_filler) << path;
        // What is private may be a FIFO, which is not read. A file that is said to be missing has no access to give.
        if (isSecret && !IsPrivate(path) && !m_plan->FailsBy(ENOENT)) {
            EXPECT_THAT(ReadFile(path), testing::AnyOf("", run.earlierCopy)) << path << " is open to others";
        }
    }
}

std::size_t Installation::First(const std::function<bool(const Step&)>& what, std::size_t from) const {
    const auto steps = m_plan->Steps();
    for (std::size_t i = from; i < steps.size(); ++i) {
        if (what(steps[i])) {
            return i;
        }
    }
    return never;
}

/// The case, and what the last run suffered.
std::string Installation::LastFault(const Case& run) const {
    static constexpr const char* effects[] = {"fails", "fails halfway", "is cut short", "comes after the event"};
    const std::size_t hit = First([](const Step& step) { return step.hit; });
    const Step step = hit == never ? Step() : m_plan->steps[hit];
    const char* const effect = effects[static_cast<int>(m_plan->effect)];
    const char* const cause = m_plan->effect == Effect::act ? strsignal(m_plan->error) : std::strerror(m_plan->error);
    const std::string error = m_plan->error == 0 ? "" : std::string(", ") + cause;
    return std::string(run.name) + ": call " + std::to_string(m_plan->first) + " " + std::string(step.call) + " " +
           step.path + " " + effect + error + (m_plan->onwards ? ", and so do all after it" : "");
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
