#pragma once

#include "tests/faults/Interposer.h"
#include "tests/support/Process.h"

#include <gtest/gtest.h>

#include <ostream>

/// What a run starts from.
struct Case {
    enum class Place { file, link, fifo, itself };

    const char* name;
    const char* option;
    const char* plugin;
    std::string live;
    std::string edited;        ///< the new bytes; empty for a run that must fail
    std::string earlierCopy;   ///< empty for none
    Place place = Place::file; ///< what is in the place of the copy
    bool relative = false;     ///< directories are given so
    /// A call of the save that fails, so that the file is put back.
    const char* failing = "";

    friend std::ostream& operator<<(std::ostream& out, const Case& run) { return out << run.name; }
};

inline const std::string original = ReadFile(TEST_DATA "/global/Global.qxc");
inline const std::string registered = ReadFile(TEST_DATA "/global/Global.registered.qxc");
inline const std::string unregistered = ReadFile(TEST_DATA "/global/Global.unregistered.qxc");
inline const std::string rejected = original + "no key\r\n";
inline const std::string longCopy(9999, '#');
inline const std::string shortCopy(999, '#');

/// Putting back the comment at the top takes a second page.
inline const std::string withoutComment = registered.substr(registered.find("BuildVersion"));

// clang-format off
inline const Case growth =         {"Growth",     "-r", "ORACLE",      withoutComment, registered,   ""};
inline const Case registration =   {"Register",   "-r", "ORACLE",      original,       registered,   ""};
inline const Case unregistration = {"Unregister", "-u", "ORACLE_RMAN", original,       unregistered, longCopy,  Case::Place::file, true};
inline const Case refusal =        {"RolledBack", "-r", "ORACLE",      rejected,       "",           shortCopy, Case::Place::link};
inline const Case failedSave =     {"FailedSave", "-u", "ORACLE_RMAN", original,       unregistered, "",        Case::Place::file, true, "ftruncate64"};
inline const Case noCopy =         {"NoCopy",     "-r", "ORACLE",      original,       "",           "",        Case::Place::fifo};
inline const Case itself =         {"Itself",     "-r", "ORACLE",      original,       "",           "",        Case::Place::itself};
// clang-format on

/// A scratch installation, its backup directory, its run log, and the plan of its runs.
class Installation : public testing::Test {
protected:
    Installation();
    ~Installation() override;

    void Lay(const Case& run) const;
    std::string Agent(const Case& run) const { return (run.relative ? "" : m_dir / "") + "agent"; }
    std::string Backups(const Case& run) const { return (run.relative ? "" : m_dir / "") + "backups/t"; }
    /// Returns: what a process does to run the tool, under a plan that it shares with this one.
    static std::function<int()> Tool(std::vector<std::string> arguments, Plan* plan);
    Outcome Run(const Case& run, const Plan& plan = {}) const;

    /// Returns: "old", "new", "new, uncut" with line feeds in the place of what is to be cut, or "other".
    static std::string Known(const Case& run, const std::string& text);
    std::string Live(const Case& run) const { return Known(run, ReadFile(m_live)); }
    /// What the copy holds, or "none". Without a host name it lies one directory up.
    std::string Copy(const Case& run) const;
    /// True when the log holds the record.
    bool Claims(int number) const;
    /// What is not true when the exit status and the log are compared with the bytes. `untouched`: there is a reason
    /// for a run that succeeds to leave the file as it was.
    std::string BrokenPromises(const Case& run, const Outcome& outcome, bool untouched) const;
    /// Expects no broken promise, and a whole file unless it may be spoilt. Counts the outcome. Returns: what the file
    /// holds.
    std::string Check(const Case& run, const Outcome& outcome, bool untouched = false, bool maySpoil = false);
    /// True when `what` holds for a call of the last run.
    bool Did(const std::function<bool(const Step&)>& what) const;
    /// The calls of that run, and the log.
    std::string CallsAndLog() const;

    const TempDir m_dir;
    const bool m_mounted; ///< m_dir is a file system of its own, in memory; not permitted everywhere
    const std::string m_live = m_dir / "agent/Global.qxc";
    const std::string m_log = m_dir / "agent/run.xlog";
    const std::string m_namelessCopy = m_dir / "backups/t/Global.qxc";
    const std::string m_copy;

private:
    const std::filesystem::path m_before = std::filesystem::current_path();

protected:
    Plan* const m_plan; ///< of the last run
};
