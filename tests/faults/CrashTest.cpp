// Kills, and loss of power, which is only modelled. A run is killed before each of its calls, which shows the files as
// every reader would find them at that moment. What lost power may leave of that is less: of each file what was
// synchronised last or anything that came later, whole or in part; of each directory the entries that were
// synchronised, and any of the others. All that may be left is tried.

#include "tests/faults/Installation.h"

#include <csignal>
#include <map>
#include <optional>

namespace {

namespace fs = std::filesystem;

/// What there is before a call.
struct Moment {
    std::map<std::string, std::string> files; ///< name and content, of directories too
    std::string claimed;                      ///< what the file holds as the log says, empty when it does not say
    std::string synchronised;                 ///< the file that the call synchronises
};

/// What may be found in a file; an empty text also if its entry may be missing.
using Found = std::vector<std::string>;

/// The moment at which a file or a directory was synchronised last; the first one at least.
using Since = std::map<std::string, std::size_t>;

class CrashTest : public Installation, public testing::WithParamInterface<Case> {
protected:
    const Case& m_case = GetParam();
    std::vector<Moment> m_moments;

    void KillBeforeEachCall() {
        const auto kill = [] { std::raise(SIGKILL); };
        ForEachCall(m_case, {everyCall, Effect::act, 0, false, kill}, [&](const Outcome& outcome) {
            Check(m_case, outcome);
            Moment& moment = m_moments.emplace_back();
            for (const auto& entry : fs::recursive_directory_iterator(m_dir / "")) {
                moment.files[entry.path()] = entry.is_regular_file() ? ReadFile(entry.path()) : "";
            }
            moment.claimed = Claims(7945) ? "old" : Claims(7953) || Claims(7960) ? "new" : "";
            const Step& next = m_plan->Steps().back();
            moment.synchronised = next.call == "fsync" ? next.path : "";
        });
        m_moments[0].files.erase(m_copy); // a run before may have made it and not synchronised the directory
    }

    Found FoundIn(const std::string& path, Since& since, std::size_t now) const {
        Found found;
        const std::string* before = nullptr;
        for (std::size_t i = since[path]; i <= now; ++i) {
            const auto file = m_moments[i].files.find(path);
            if (file == m_moments[i].files.end() || (before != nullptr && *before == file->second)) {
                continue;
            }
            const std::string& content = file->second;
            std::string old = before == nullptr ? content : *before;
            const std::size_t half = std::min(old.size(), content.size() / 2);
            found.emplace_back(content);
            found.emplace_back(content.substr(0, half) + old.substr(half));
            old.resize(content.size());
            found.emplace_back(old); // the new size came before the bytes
            before = &content;
        }
        for (fs::path entry = path; entry.string().size() > (m_dir / "").size(); entry = entry.parent_path()) {
            if (m_moments[since[entry.parent_path()]].files.count(entry) == 0) {
                found.emplace_back("");
            }
        }
        return found;
    }

    /// Goes through all states, `leftOut` being the number of a synchronisation that is not made. Returns: what
    /// the file holds in the first bad one, and when; empty when there is none.
    std::string Walk(std::optional<std::size_t> leftOut = {}) const {
        Since since;
        for (std::size_t now = 0; now < m_moments.size(); ++now) {
            if (now > 0 && leftOut != now - 1) {
                since[m_moments[now - 1].synchronised] = now;
            }
            const std::string& claimed = m_moments[now].claimed;
            const Found copies = FoundIn(m_copy, since, now);
            const bool hasCopy = copies == Found(copies.size(), m_case.live);
            for (const std::string& live : FoundIn(m_live, since, now)) {
                const std::string known = Known(m_case, live);
                if ((known == "other" && !hasCopy) || (!claimed.empty() && known != claimed)) {
                    return known + " before call " + std::to_string(now + 1);
                }
            }
        }
        return "";
    }
};

TEST_P(CrashTest, LosesNothing) {
    KillBeforeEachCall();
    EXPECT_EQ(Walk(), "");
    // Every synchronisation of a run that writes is needed: a walk without it finds a bad state.
    for (std::size_t i = 0; i < m_moments.size() && !m_case.edited.empty(); ++i) {
        const std::string& path = m_moments[i].synchronised;
        EXPECT_TRUE(path.empty() || !Walk(i).empty()) << "without call " << i + 1 << " on " << path;
    }
    // After the last kill a run on the intact file does as if nothing had been.
    WriteFile(m_live, m_case.live);
    const bool mustFail = m_case.edited.empty() || !m_case.failing.empty();
    EXPECT_EQ(Check(m_case, Run(m_case)), mustFail ? "old" : "new");
    EXPECT_TRUE(HasWholeCopy(m_case));
}

INSTANTIATE_TEST_SUITE_P(, CrashTest, testing::Values(growth, unregistration, refusal, failedSave),
                         [](const auto& test) { return test.param.name; });

} // namespace
