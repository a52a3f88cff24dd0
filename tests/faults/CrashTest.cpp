// Kills, and loss of power, which is only modelled. A run is killed before each of its calls, which shows the files as
// every reader would find them at that moment. What lost power may leave of that is less: of each file what was
// synchronised last or anything that came later, whole or in part, at the length of any; of each directory the entries
// that were synchronised, and any of the others. A renaming is one change of its directory. All that may be left is
// tried.

#include "tests/faults/Installation.h"

#include <csignal>
#include <map>
#include <optional>
#include <set>

namespace {

namespace fs = std::filesystem;

/// A file or directory as it is found before a call.
struct Found {
    std::string id; ///< stays the same when it is renamed
    std::string content;
};

/// What there is before a call.
struct Moment {
    std::map<std::string, Found> files; ///< by name; directories have no content
    std::string claimed;                ///< what the file holds as the log says, empty when it does not say
    Step next;                          ///< the call
};

using Contents = std::set<std::string>;

/// The moment at which a file or a directory was synchronised last, by its id; the first one at least.
using Since = std::map<std::string, std::size_t>;

class CrashTest : public Installation, public testing::WithParamInterface<Case> {
protected:
    const Case& m_case = GetParam();
    std::vector<Moment> m_moments;
    std::string m_leftBehind; ///< what a killed run left beside the copy

    void KillBeforeEachCall() {
        const auto kill = [] { std::raise(SIGKILL); };
        BeforeEachCall(m_case, kill, [&](const Outcome& outcome) {
            Check(m_case, outcome);
            Moment moment;
            for (const auto& entry : fs::recursive_directory_iterator(m_dir / "")) {
                moment.files[entry.path()] = {"", entry.is_regular_file() ? ReadFile(entry.path()) : ""};
            }
            moment.claimed = Claims(7945) ? "old" : Claims(7953) || Claims(7960) ? "new" : "";
            moment.next = m_plan->Steps().back();
            if (m_moments.empty()) {
                moment.files.erase(m_copy); // a run before may have made it and not synchronised the directory
            }
            GiveIds(moment);
            m_moments.push_back(moment);
        });
    }

    /// What has a new name may be what has been renamed by the last call.
    void GiveIds(Moment& moment) {
        const Moment before = m_moments.empty() ? Moment() : m_moments.back();
        const bool renamed = before.next.call.starts_with("rename");
        for (auto& [name, found] : moment.files) {
            const bool isTarget = renamed && fs::weakly_canonical(before.next.path) == name;
            const auto same = before.files.find(name);
            if (same != before.files.end() && !isTarget) {
                found.id = same->second.id;
            } else {
                found.id = name + " from call " + std::to_string(m_moments.size());
            }
            for (const auto& [oldName, old] : before.files) {
                if (isTarget && moment.files.count(oldName) == 0) {
                    found.id = old.id;
                }
            }
            if (fs::path(name).parent_path() == fs::path(m_copy).parent_path() && name != m_copy) {
                EXPECT_TRUE(m_leftBehind.empty() || m_leftBehind == name) << "a second name beside the copy: " << name;
                m_leftBehind = name;
            }
        }
    }

    /// Returns: the file or directory of this name, null when there is none.
    const Found* At(const std::string& name, std::size_t moment) const {
        const auto found = m_moments[moment].files.find(name);
        return found == m_moments[moment].files.end() ? nullptr : &found->second;
    }

    /// All that may be found under a name: of each file that the entry may lead to what was synchronised last or came
    /// later, the beginning of one with the rest or the length of another. An empty text also if the entry may be
    /// missing.
    Contents ContentsOf(const std::string& name, const Since& since, std::size_t now) const {
        const auto sinceOf = [&](const Found* found) {
            const auto moment = since.find(found == nullptr ? "" : found->id); // the scratch directory has no id
            return moment == since.end() ? 0 : moment->second;
        };
        Contents contents;
        std::set<std::string> ids;
        for (fs::path entry = name; entry.string().size() > (m_dir / "").size(); entry = entry.parent_path()) {
            for (std::size_t i = sinceOf(At(entry.parent_path(), now)); i <= now; ++i) {
                const Found* const found = At(entry, i);
                if (found == nullptr) {
                    contents.insert("");
                } else if (entry == name && ids.insert(found->id).second) {
                    AddContents(found->id, sinceOf(found), now, contents);
                }
            }
        }
        return contents;
    }

    void AddContents(const std::string& id, std::size_t since, std::size_t now, Contents& contents) const {
        std::vector<std::string> versions;
        for (std::size_t i = since; i <= now; ++i) {
            for (const auto& [name, found] : m_moments[i].files) {
                if (found.id == id && (versions.empty() || versions.back() != found.content)) {
                    versions.push_back(found.content);
                }
            }
        }
        for (auto later = versions.begin(); later != versions.end(); ++later) {
            contents.insert(*later);
            for (auto earlier = versions.begin(); earlier != later; ++earlier) {
                std::string torn = *earlier;
                const std::size_t half = std::min(torn.size(), later->size() / 2);
                contents.insert(later->substr(0, half) + torn.substr(half));
                torn.resize(later->size());
                contents.insert(torn);
            }
        }
    }

    /// Goes through all states, `leftOut` being the number of a synchronisation that is not made. Returns: what is
    /// found in the first bad one, and when; empty when there is none.
    std::string Walk(std::optional<std::size_t> leftOut = {}) const {
        Since since;
        for (std::size_t now = 0; now < m_moments.size(); ++now) {
            if (now > 0 && leftOut != now - 1 && m_moments[now - 1].next.set == callSync) {
                const Found* const synchronised = At(m_moments[now - 1].next.path, now - 1);
                since[synchronised == nullptr ? "" : synchronised->id] = now;
            }
            const std::string when = " before call " + std::to_string(now + 1);
            const std::string& claimed = m_moments[now].claimed;
            const Contents copies = ContentsOf(m_copy, since, now);
            const bool hasCopy = copies == Contents{m_case.live};
            for (const std::string& live : ContentsOf(m_live, since, now)) {
                const std::string known = Known(m_case, live);
                const bool isWrong = !hasCopy && (known == "other" || m_moments[now].next.OpensLiveToWrite());
                if (isWrong || known == "old, cut" || (!claimed.empty() && known != claimed)) {
                    return known + when;
                }
            }
            for (const std::string& copy : copies) {
                if (*m_case.link == '\0' && Contents{"", m_case.live, m_case.earlierCopy}.count(copy) == 0) {
                    return "a torn copy" + when;
                }
            }
        }
        return "";
    }
};

TEST_P(CrashTest, LosesNothing) {
    KillBeforeEachCall();
    EXPECT_EQ(Walk(), "");
    // Every synchronisation of a run that writes is needed, but for one before a cut that fails: a walk without it
    // finds a bad state.
    for (std::size_t i = 0; i + 1 < m_moments.size() && !m_case.edited.empty(); ++i) {
        if (m_moments[i].next.set == callSync && m_moments[i + 1].next.call != m_case.failing) {
            EXPECT_NE(Walk(i), "") << "without call " << i + 1 << " on " << m_moments[i].next.path;
        }
    }
    // After the last kill a run on the intact file does as if nothing had been, whatever has the name that a killed run
    // left.
    WriteFile(m_live, m_case.live);
    if (!m_leftBehind.empty()) {
        WriteFile(m_filler, "kept");
        fs::create_hard_link(m_filler, m_leftBehind);
    }
    const bool mustFail = m_case.edited.empty() || !m_case.failing.empty();
    EXPECT_EQ(Check(m_case, Run(m_case)), mustFail ? "old" : "new");
    EXPECT_EQ(Claims(7945), mustFail);
    EXPECT_TRUE(HasWholeCopy(m_case));
    EXPECT_TRUE(m_leftBehind.empty() || ReadFile(m_filler) == "kept");
}

INSTANTIATE_TEST_SUITE_P(, CrashTest, testing::Values(growth, unregistration, refusal, failedSave),
                         [](const auto& test) { return test.param.name; });

} // namespace
