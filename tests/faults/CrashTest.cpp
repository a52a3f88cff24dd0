// Lost power, without cutting any. A run is killed before each of its calls, which shows the files as every reader
// would find them at that moment. What a power cut may leave of that is less: of each file what was synchronised last
// or anything that came later, whole or in part; of each directory the entries that were synchronised, and any of the
// others. All that may be left is tried.

#include "tests/faults/Installation.h"

#include <csignal>
#include <cstring>
#include <iostream>
#include <map>
#include <optional>
#include <set>

namespace {

namespace fs = std::filesystem;

/// What there is before a call.
struct Moment {
    Step call;
    std::map<std::string, std::string> entries; ///< name and content; of a directory without content
    bool saved;                                 ///< as the log says
    bool putBack;

    const std::string* Content(const std::string& path) const {
        const auto entry = entries.find(path);
        return entry == entries.end() ? nullptr : &entry->second;
    }
};

/// What of a run's doings has reached the disk for sure.
class Disk {
public:
    /// At the start that is everything but the entry of the copy, which a run before may have made and not
    /// synchronised.
    Disk(const Moment& start, const std::string& copy) {
        for (const auto& [path, content] : start.entries) {
            if (path != copy) {
                m_entries.insert(path);
            }
        }
    }

    void Synchronise(const std::string& path, const Moment& now, std::size_t number) {
        m_since[path] = number;
        for (const auto& [entry, content] : now.entries) {
            if (fs::path(entry).parent_path() == path) {
                m_entries.insert(entry);
            }
        }
    }

    bool HasEntry(const std::string& path) const { return m_entries.count(path) > 0; }

    /// The moment from which on the file's content is sure to be there, or newer content.
    std::size_t Since(const std::string& path) const {
        const auto since = m_since.find(path);
        return since == m_since.end() ? 0 : since->second;
    }

private:
    std::set<std::string> m_entries;
    std::map<std::string, std::size_t> m_since;
};

class CrashTest : public Installation, public testing::WithParamInterface<Case> {
protected:
    const Case& m_case = GetParam();
    std::vector<Moment> m_moments;
    long m_states = 0;

    void Record() {
        do {
            const auto number = static_cast<long>(m_moments.size()) + 1;
            Lay(m_case);
            Run(m_case, {everyCall, number, number, Effect::signal, SIGKILL});
            Moment moment = {m_plan->steps[m_plan->stepCount - 1], {}, Claims(7953) || Claims(7960), Claims(7945)};
            for (const auto& entry : fs::recursive_directory_iterator(m_dir / "")) {
                moment.entries[entry.path()] = entry.is_regular_file() ? ReadFile(entry.path()) : "";
            }
            m_moments.push_back(moment);
        } while (m_plan->injected > 0);
    }

    /// All that may be found in the file after a power cut at the moment; nothing at all if its entry may be missing.
    std::vector<std::optional<std::string>> Found(const std::string& path, const Disk& disk, std::size_t now) const {
        std::vector<std::optional<std::string>> found;
        const std::string* before = nullptr;
        for (std::size_t i = disk.Since(path); i <= now; ++i) {
            const std::string* const content = m_moments[i].Content(path);
            if (content != nullptr && (before == nullptr || *before != *content)) {
                found.emplace_back(*content);
            }
            if (content != nullptr && before != nullptr && *before != *content) {
                const std::size_t half = std::min(before->size(), content->size() / 2);
                found.emplace_back(content->substr(0, half) + before->substr(half));
                std::string sizeFirst = *before;
                sizeFirst.resize(content->size());
                found.emplace_back(sizeFirst);
            }
            before = content;
        }
        if (m_moments[now].Content(path) == nullptr || !disk.HasEntry(path)) {
            found.emplace_back();
        }
        return found;
    }

    /// Every set of those directories above the copy that may be missing makes a state of its own.
    long MissingDirectories(const Disk& disk, std::size_t now) const {
        long count = 0;
        for (fs::path path = fs::path(m_copy).parent_path(); path != fs::path(m_dir / "").parent_path();
             path = path.parent_path()) {
            count += m_moments[now].Content(path) == nullptr || !disk.HasEntry(path) ? 1 : 0;
        }
        return count;
    }

    /// Returns: what is wrong with a state in which the power cut leaves this.
    std::string Judge(const Moment& moment, const std::optional<std::string>& live, bool copyIsGood) const {
        const std::string known = live.has_value() ? Known(m_case, *live) : "missing";
        const bool whole = known != "other" && known != "missing";
        return !whole && !copyIsGood              ? "file and copy are lost"
               : moment.saved && known != "new"   ? "the file is not saved as the log says"
               : moment.putBack && known != "old" ? "the file is not put back as the log says"
                                                  : "";
    }

    /// Walks through all states. `leftOut`: the number of a call that is not made. Returns: what is wrong with a state.
    std::string Walk(std::optional<std::size_t> leftOut = {}) {
        Disk disk(m_moments[0], m_copy);
        std::string wrong;
        for (std::size_t now = 0; now < m_moments.size(); ++now) {
            const Step* const last = now == 0 || leftOut == now - 1 ? nullptr : &m_moments[now - 1].call;
            if (last != nullptr && std::strcmp(last->call, "fsync") == 0) {
                disk.Synchronise(last->path, m_moments[now], now);
            }
            const long missing = MissingDirectories(disk, now);
            for (const auto& live : Found(m_live, disk, now)) {
                for (const auto& copy : Found(m_copy, disk, now)) {
                    m_states += 1L << missing;
                    for (const bool reachable : {missing == 0, true}) {
                        const bool copyIsGood = reachable && copy == m_case.live;
                        const std::string reason = Judge(m_moments[now], live, copyIsGood);
                        wrong +=
                            reason.empty() || !wrong.empty() ? "" : reason + " before call " + std::to_string(now + 1);
                    }
                }
            }
        }
        return wrong;
    }
};

TEST_P(CrashTest, LosesNothingAndNeedsEverySynchronisation) {
    Record();
    EXPECT_EQ(Walk(), "");
    std::cout << m_moments.size() << " moments, " << m_states << " states\n";
    int synchronisations = 0;
    for (std::size_t i = 0; i + 1 < m_moments.size(); ++i) {
        if (std::strcmp(m_moments[i].call.call, "fsync") == 0) {
            EXPECT_NE(Walk(i), "") << "without call " << i + 1 << " on " << m_moments[i].call.path;
            ++synchronisations;
        }
    }
    EXPECT_GE(synchronisations, 3);
}

INSTANTIATE_TEST_SUITE_P(, CrashTest, testing::Values(growth, unregistration, failedSave),
                         [](const auto& test) { return test.param.name; });

} // namespace
