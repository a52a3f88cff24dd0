#pragma once

#include "tests/faults/Cases.h"
#include "tests/faults/Interposer.h"
#include "tests/support/Process.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

/// A number from the environment, for loops that take long.
long Setting(const char* name, long usual);

/// A scratch installation, its backup directory, its run log, and the plan for the preload library.
class Installation : public testing::Test {
protected:
    Installation();
    ~Installation() override;

    /// Puts a file system of its own below the installation. Returns: false when that is not permitted.
    bool Mount();
    void Lay(const Case& run) const;
    Case WithEdit(Case run) const;
    std::vector<std::string> Arguments(const Case& run) const;
    Outcome Run(const Case& run, const std::vector<std::string>& environment = {}) const;
    Outcome Run(const Case& run, const Plan& plan) const;

    /// Returns: "old", "new", "new, uncut" with line feeds in the place of what is to be cut, or "other".
    static std::string Known(const Case& run, const std::string& text);
    std::string Live(const Case& run) const { return Known(run, ReadFile(m_live)); }
    /// The copy of a machine that does not tell its name lies elsewhere.
    std::string Copy(const Case& run) const;
    /// True when the log holds the record.
    bool Claims(int number) const;

    /// Returns: how the run ended, what the file holds, and what the log says of restoring.
    std::string Kind(const Case& run, const Outcome& outcome) const;
    /// Compares the exit status and the log with the bytes. `untouched`: there is a reason for a run that succeeds to
    /// leave the file as it was. Returns: what is not true, empty for nothing.
    std::string Lies(const Case& run, const Outcome& outcome, bool untouched) const;
    /// Fails the test with all that is known of the run.
    void Expect(const Case& run, const std::string& lies, const Outcome& outcome) const;
    /// The calls of the last run under a plan, the log, and the files.
    std::string Story(const Case& run) const;

    const TempDir m_dir;
    const TempDir m_orders; ///< apart, since a test may mount a file system on the other
    const std::string m_live = m_dir / "agent/Global.qxc";
    const std::string m_log = m_dir / "agent/run.xlog";
    const std::string m_namelessCopy = m_dir / "backups/today/Global.qxc";
    const std::string m_copy;
    const std::string m_planFile = m_orders / "plan";
    Plan* const m_plan = (WriteFile(m_planFile, std::string(sizeof(Plan), 0)), MapPlan(m_planFile.c_str()));

private:
    bool m_mounted = false;
    const std::filesystem::path m_before = std::filesystem::current_path();
};
