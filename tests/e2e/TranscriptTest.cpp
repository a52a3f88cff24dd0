// Plays the shell sessions in tests/data/transcripts: each command must give what stands below it.

#include "tests/support/Process.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <regex>
#include <sstream>

#include <gmock/gmock.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// A command, which may continue over several lines, and its output.
const std::regex step(R"(  \$ (.*(?:\n  > .*)*)\n((?:  (?![$>] ).*\n)*))");
/// Stands in the output of a session before and after the exit status of each command.
constexpr char mark = '\036';

/// What a command printed, as a transcript shows it: a log record in its short form, an exit status other than 0 last.
std::string Shown(const std::string& output, const std::string& status) {
    std::string shown;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        line = line.starts_with("<M ") ? Records(line).at(0) : line;
        shown += "  " + line + (lines.eof() ? " (no end of line)\n" : "\n");
    }
    return status == "0" ? shown : shown + "  [" + status + "]\n";
}

/// What a shell prints that finds the tool by its name.
std::string Played(const std::string& script) {
    const std::string seconds = std::to_string(timeLimit - 10);
    const std::string tools = fs::path(TOOL).parent_path();
    const std::string setting =
        "export PATH='" + tools + "':/usr/bin:/bin LC_ALL=C DATA=../data NODE=" + NodeName() + "\n";
    // When the time is up, this also ends what the shell has started.
    const auto shell = [&] {
        return execl("/usr/bin/timeout", "timeout", seconds.c_str(), "/bin/sh", "-c", (setting + script).c_str(),
                     nullptr);
    };
    const Outcome outcome = Child(shell).Wait();
    constexpr int timeIsUp = 124;
    EXPECT_NE(outcome.status, timeIsUp) << "the session took more than " << seconds << " seconds";
    return outcome.output;
}

class Transcript : public testing::TestWithParam<fs::path> {};

TEST_P(Transcript, IsWhatHappens) {
    const bool asksQxc = GetParam().stem().string().starts_with("Qxc");
    if (asksQxc && !fs::exists(fs::path(TOOL).parent_path() / "qxc")) {
        GTEST_SKIP() << "qxc is not built";
    }
    const std::string transcript = ReadFile(GetParam());
    const std::vector<std::smatch> steps(std::sregex_iterator(transcript.begin(), transcript.end(), step), {});
    ASSERT_FALSE(steps.empty());
    if (geteuid() != 0 && transcript.find("chown") != std::string::npos) {
        GTEST_SKIP() << "only root makes what belongs to others";
    }
    ASSERT_THAT("\n" + std::regex_replace(transcript, step, ""), testing::Not(testing::HasSubstr("\n ")))
        << "belongs nowhere";

    const TempDir dir;
    fs::create_directory_symlink(TEST_DATA "/global", dir / "data");
    WriteFile(dir / "session/agent/Global.qxc", ReadFile(TEST_DATA "/global/Global.qxc"));
    const std::string scratch = fs::canonical(dir / "session");
    std::string script = "cd '" + scratch + "' || exit\n";
    for (const std::smatch& command : steps) {
        script += std::regex_replace(command.str(1), std::regex("\n  > "), "\n") + "\nprintf '\\036%s\\036' $?\n";
    }
    std::istringstream outputs(Played(script + "wait\n"));

    std::string expected;
    std::string played;
    for (const std::smatch& command : steps) {
        std::string output;
        std::string status = "did not end";
        std::getline(std::getline(outputs, output, mark), status, mark);
        const std::string typed = command.prefix().str() + "  $ " + command.str(1) + "\n";
        const std::string text = std::regex_replace(command.str(2), std::regex("\\$PWD"), scratch);
        expected += typed + std::regex_replace(text, std::regex("\\$NODE"), NodeName());
        played += typed + Shown(output, status);
    }
    std::string late;
    std::getline(outputs, late, '\0');
    EXPECT_EQ(expected, played + Shown(late, "0"));
}

const std::vector<fs::path> files(fs::directory_iterator(TEST_DATA "/transcripts"), {});

INSTANTIATE_TEST_SUITE_P(, Transcript, testing::ValuesIn(files), [](const auto& test) { return test.param.stem(); });

} // namespace
