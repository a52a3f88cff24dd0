#include "qxc/CommandLine.h"

#include "Mis/VError.h"
#include "Mis/Version.h"
#include "qxc/LogReport.h"
#include "qxc/Output.h"
#include "qxc/Questions.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <iterator>
#include <utility>

#include <getopt.h>

namespace {

/// The options, each a bit, so that a command can name those that it takes.
enum Option : unsigned { optionNone = 0, optionJson = 1, optionSecrets = 2, optionHelp = 4, optionVersion = 8 };

const option options[] = {
    {"json", no_argument, nullptr, optionJson},
    {"secrets", no_argument, nullptr, optionSecrets},
    {"help", no_argument, nullptr, optionHelp},
    {"version", no_argument, nullptr, optionVersion},
    {nullptr, 0, nullptr, 0},
};

struct Command {
    const char* word;
    int fewest; ///< operands
    int most;
    unsigned options;
    Answer (*answer)(const Request&);
};

// clang-format off
constexpr Command commands[] = {
    {"check",   1, INT_MAX, optionNone,                 checkFiles},
    {"plugins", 1, 1,       optionJson,                 listPlugins},
    {"get",     2, 2,       optionNone,                 getValue},
    {"list",    1, 1,       optionJson | optionSecrets, listKeys},
    {"log",     1, 1,       optionJson,                 tellLog},
};

constexpr const char* help =
    "Usage: qxc check FILE...                     is each a file that PlugSetter would load?\n"
    "       qxc plugins [--json] FILE             which plug-ins are registered?\n"
    "       qxc get FILE KEY                      what is the value of this key?\n"
    "       qxc list [--json] [--secrets] FILE    all keys with their values\n"
    "       qxc log [--json] LOG                  what does the log of a run say?\n"
    "\n"
    "  --json      one JSON object a line\n"
    "  --secrets   show passwords and licence keys\n"
    "  --help      print this text\n"
    "  --version   print the version\n"
    "\n"
    "\"-\" is standard input. Exit status: 0 yes, 1 no, 2 when it cannot be told.";
// clang-format on

Answer Misused(const char* subject, const char* problem) {
    complain(subject, problem);
    writeError("Try: qxc --help");
    return answerUnknown;
}

Answer Run(unsigned given, std::vector<std::string> words) {
    if (words.empty()) {
        return Misused("command", "there is none");
    }
    const auto* command = std::find_if(std::begin(commands), std::end(commands),
                                       [&](const Command& candidate) { return words.front() == candidate.word; });
    if (command == std::end(commands)) {
        return Misused(words.front().c_str(), "no such command");
    }
    words.erase(words.begin());
    if (words.size() < static_cast<std::size_t>(command->fewest)) {
        return Misused(command->word, "too few arguments");
    }
    if (words.size() > static_cast<std::size_t>(command->most)) {
        return Misused(command->word, "too many arguments");
    }
    if ((given & ~command->options) != 0) {
        return Misused(command->word, "takes no such option");
    }
    return command->answer({std::move(words), (given & optionJson) != 0, (given & optionSecrets) != 0});
}

Answer RunWithOptions(int argc, char** argv) {
    unsigned given = 0;
    for (int found = 0; (found = getopt_long(argc, argv, "", options, nullptr)) != -1;) {
        switch (found) {
        case optionHelp: writeLine(help); return answerYes;
        case optionVersion: writeLine(std::string("qxc ") + programVersion); return answerYes;
        case '?': writeError("Try: qxc --help"); return answerUnknown;
        default: given |= static_cast<unsigned>(found);
        }
    }
    return Run(given, {argv + std::min(optind, argc), argv + argc});
}

} // namespace

Answer runQxc(int argc, char** argv) {
    Answer answer = answerUnknown;
    if (!err_attempt([&] { answer = RunWithOptions(argc, argv); })) {
        complain("memory", std::strerror(ENOMEM));
        answer = answerUnknown;
    }
    return finishOutput() ? answer : answerUnknown;
}
