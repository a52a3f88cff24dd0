// Kills, and loss of power, which is only modelled. A run is killed before each of its calls, which shows the files as
// every reader would find them at that moment. What lost power may leave of that is less: of each file what was
// synchronised last or anything that came later, whole or in part; of each directory the entries that were
// synchronised, and any of the others. All that may be left is tried.

#include "tests/faults/Installation.h"

#include <csignal>
#include <iostream>
#include <map>
#include <optional>
#include <set>

namespace {

namespace fs = std::filesystem;

/// What there is before a call.
struct Moment {
    std::map<std::string, std::string> files; ///< name and content, of directories too
    bool saved;                               ///< as the log says
    bool putBack;
    std::string synchronised; ///< the file that the call synchronises

    const std::string* Content(const std::string& path) const {
        const auto file = files.find(path);
        return file == files.end() ? nullptr : &file->second;
    }
};

/// What is on the disk for sure.
struct Disk {
    std::set<std::string> entries;
    std::map<std::string, std::size_t> since; ///< of a file: the moment whose content it has, or newer content
};

/// What may be found in a file, nothing if its entry may be missing.
using Found = std::vector<std::optional<std::string>>;

class CrashTest : public Installation, public testing::WithParamInterface<Case> {
protected:
    const Case& m_case = GetParam();
    std::vector<Moment> m_moments;

    void KillBeforeEachCall() {
        Plan plan = {everyCall, 0, 0, Effect::signal, SIGKILL};
        do {
            plan.last = ++plan.first;
            Lay(m_case);
            Check(m_case, Run(m_case, plan));
            const Step& call = m_plan->steps[m_plan->stepCount - 1];
            m_moments.push_back({{}, Claims(7953) || Claims(7960), Claims(7945), ""});
            m_moments.back().synchronised = call.call == "fsync" ? call.path : "";
            for (const auto& entry : fs::recursive_directory_iterator(m_dir / "")) {
                m_moments.back().files[entry.path()] = entry.is_regular_file() ? ReadFile(entry.path()) : "";
            }
        } while (m_plan->injected > 0);
        // After the last kill a run on the intact file does as if nothing had been.
        WriteFile(m_live, m_case.live);
        const bool mustFail = m_case.edited.empty() || *m_case.failing != '\0';
        EXPECT_EQ(Check(m_case, Run(m_case)), mustFail ? "old" : "new");
        EXPECT_EQ(Copy(m_case), "old");
    }

    Found FoundIn(const std::string& path, const Disk& disk, std::size_t now) const {
        Found found;
        const std::string* before = nullptr;
        const auto since = disk.since.find(path);
        for (std::size_t i = since == disk.since.end() ? 0 : since->second; i <= now; ++i) {
            const std::string* const content = m_moments[i].Content(path);
            if (content != nullptr && (before == nullptr || *before != *content)) {
                const std::string old = before == nullptr ? *content : *before;
                const std::size_t half = std::min(old.size(), content->size() / 2);
                found.emplace_back(*content);
                found.emplace_back(content->substr(0, half) + old.substr(half));
                std::string sized = old;
                sized.resize(content->size());
                found.emplace_back(sized); // the new size came before the bytes
            }
            before = content;
        }
        for (fs::path entry = path; entry.string().size() > (m_dir / "").size(); entry = entry.parent_path()) {
            if (disk.entries.count(entry) == 0) {
                found.emplace_back();
                break;
            }
        }
        return found;
    }

    /// Returns: what is wrong with a state in which this is left.
    std::string Judge(const Moment& moment, const std::optional<std::string>& live, bool hasCopy) const {
        const std::string known = live.has_value() ? Known(m_case, *live) : "other";
        return known == "other" && !hasCopy       ? "file and copy are lost"
               : moment.saved && known != "new"   ? "the file is not saved as the log says"
               : moment.putBack && known != "old" ? "the file is not put back as the log says"
                                                  : "";
    }

    /// Goes through all states, `leftOut` being the number of a synchronisation that is not made. Returns: what is
    /// wrong with the first bad one.
    std::string Walk(long& states, std::optional<std::size_t> leftOut = {}) const {
        Disk disk;
        for (const auto& [path, content] : m_moments[0].files) {
            disk.entries.insert(path);
        }
        disk.entries.erase(m_copy); // a run before may have made it and not synchronised the directory
        std::string wrong;
        for (std::size_t now = 0; now < m_moments.size(); ++now) {
            if (now > 0 && leftOut != now - 1) {
                Synchronise(m_moments[now - 1].synchronised, now, disk);
            }
            for (const auto& live : FoundIn(m_live, disk, now)) {
                for (const auto& copy : FoundIn(m_copy, disk, now)) {
                    ++states;
                    const std::string reason = Judge(m_moments[now], live, copy == m_case.live);
                    if (wrong.empty() && !reason.empty()) {
                        wrong = reason + " at call " + std::to_string(now);
                    }
                }
            }
        }
        return wrong;
    }

    void Synchronise(const std::string& path, std::size_t now, Disk& disk) const {
        disk.since[path] = now;
        for (const auto& [entry, content] : m_moments[now].files) {
            if (fs::path(entry).parent_path() == path) {
                disk.entries.insert(entry);
            }
        }
    }
};

TEST_P(CrashTest, LosesNothing) {
    KillBeforeEachCall();
    long states = 0;
    EXPECT_EQ(Walk(states), "");
    std::cout << m_moments.size() << " moments, " << states << " states\n";
    // Every synchronisation is needed: a walk without it finds a bad state.
    const bool writes = !m_case.edited.empty();
    long needed = 0;
    for (std::size_t i = 0; writes && i + 1 < m_moments.size(); ++i) {
        if (!m_moments[i].synchronised.empty()) {
            EXPECT_NE(Walk(states, i), "") << "without call " << i + 1 << " on " << m_moments[i].synchronised;
            ++needed;
        }
    }
    EXPECT_GE(needed, writes ? 3 : 0);
}

INSTANTIATE_TEST_SUITE_P(, CrashTest, testing::Values(growth, unregistration, refusal, failedSave),
                         [](const auto& test) { return test.param.name; });

} // namespace
