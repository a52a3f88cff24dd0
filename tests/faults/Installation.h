#pragma once

#include "tests/faults/Interposer.h"
#include "tests/support/Process.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

/// What a run starts from.
struct Case {
    const char* name;
    const char* option;
    const char* plugin;
    std::string live;
    std::string edited;           ///< the new bytes; empty for a run that must fail
    std::string earlierCopy = {}; ///< empty for none
    const char* link = "";        ///< where a link in the place of the copy leads; empty for none
    bool relative = false;        ///< directories are given so
    /// A call of the save that fails, so that the file is put back.
    std::string_view failing = {};

    friend std::ostream& operator<<(std::ostream& out, const Case& run) { return out << run.name; }
};

inline const std::string original = ReadFile(TEST_DATA "/global/Global.qxc");
inline const std::string registered = ReadFile(TEST_DATA "/global/Global.registered.qxc");
inline const std::string unregistered = ReadFile(TEST_DATA "/global/Global.unregistered.qxc");

/// Putting back the comment at the top takes a second page.
inline const std::string withoutComment = registered.substr(registered.find("BuildVersion"));

// clang-format off
inline const Case growth =         {"Growth",     "-r", "ORACLE",      withoutComment,           registered};
inline const Case unregistration = {"Unregister", "-u", "ORACLE_RMAN", original,                 unregistered, std::string(9999, '#'), "", true};
inline const Case refusal =        {"RolledBack", "-r", "ORACLE",      original + "no key\r\n", "",           std::string(999, '#'),  "linked"};
inline const Case failedSave =     {"FailedSave", "-u", "ORACLE_RMAN", original,                 unregistered, "",                     "", true, "ftruncate64"};
inline const Case noCopy =         {"NoCopy",     "-r", "ORACLE",      original,                 "",           "",                     "fifo"};
inline const Case itself =         {"Itself",     "-r", "ORACLE",      original,                 "",           "",                     "agent/Global.qxc"};
// clang-format on

/// Somebody who is neither root nor runs the tool.
constexpr uid_t stranger = 4321;

/// A scratch installation, its backup directory, its run log, and the plan of its runs.
class Installation : public testing::Test {
protected:
    Installation();
    /// Shows the last run if it has failed.
    ~Installation() override;

    /// Ends the test when a run has failed; otherwise lays the files anew. The file is old, so that a change shows.
    void Lay(const Case& run);
    Outcome Run(const Case& run, const Plan& plan = {}) const;
    /// Hits each call in turn until a run is not hit any more, which must make more calls than `least`. Each run finds
    /// new files and is judged.
    void ForEachCall(const Case& run, Plan plan, const std::function<void(const Outcome&)>& judge, long least = 50);
    /// As above. The event comes before each call in turn.
    void BeforeEachCall(const Case& run, const std::function<void()>& event,
                        const std::function<void(const Outcome&)>& judge) {
        ForEachCall(run, {everyCall, Effect::act, 0, false, event}, judge);
    }

    /// Returns: "old", "new", "new, uncut" with line feeds in the place of what is to be cut, "old, cut" to the length
    /// of the new text, or "other".
    static std::string Known(const Case& run, const std::string& text);
    std::string Live(const Case& run) const { return Known(run, ReadFile(m_live)); }
    bool HasWholeCopy(const Case& run) const;
    bool Claims(int record) const; ///< true when the log holds it
    /// True when the log holds the record, or standard error does.
    bool Tells(int record, const Outcome& outcome) const;
    static bool IsPrivate(const std::string& path);
    /// Returns: the number among all calls of the last run, from 0, of the first for which `what` holds, not before
    /// `from`; `never` when there is none.
    std::size_t First(const std::function<bool(const Step&)>& what, std::size_t from = 0) const;
    bool Did(const std::function<bool(const Step&)>& what) const { return First(what) != never; }
    /// Expects that the exit status and the log tell the truth about the bytes, that a run that fails says why, that no
    /// copy is in pieces, that nobody else can read the copy or the log, and that nothing is left behind. `untouched`:
    /// there is a reason for a run that succeeds to leave the file as it was. Returns: what the file holds.
    std::string Check(const Case& run, const Outcome& outcome, bool untouched = false, bool maySpoil = false) const;

    static constexpr std::size_t never = SIZE_MAX;
    const TempDir m_dir;
    const bool m_mounted; ///< m_dir is a file system of its own, in memory; not permitted everywhere
    const std::string m_live = m_dir / "agent/Global.qxc";
    const std::string m_log = m_dir / "agent/run.xlog";
    const std::string m_copy;
    const std::string m_namelessCopy = m_dir / "backups/t/Global.qxc"; ///< where it lies without a host name
    const std::string m_filler = m_dir / "filler";                     ///< what fills the disk
    off_t m_room = 0;                                                  ///< of the file as it was laid
    Plan* const m_plan;                                                ///< of the last run

private:
    std::string LastFault(const Case& run) const;
    std::string CallsAndLog() const;
    void CheckCopy(const Case& run) const;
    void CheckOtherFiles(const Case& run, bool isOver) const;
};
