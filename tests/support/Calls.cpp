#include "tests/support/Calls.h"

#include "Mis/Log.h"
#include "Mis/Unix/UtilitiesUnix.h"
#include "Mis/VError.h"
#include "tests/support/Records.h"
#include "tests/support/TempDir.h"

#include <cerrno>
#include <optional>
#include <regex>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

/// What a word in quotes stands for.
std::string Unescaped(const std::string& word) {
    static const std::string letters = "ntrvf";
    static const std::string characters = "\n\t\r\v\f";
    std::string text;
    for (std::size_t at = 0; at < word.size(); ++at) {
        if (word[at] != '\\') {
            text += word[at];
        } else if (word[++at] == 'x') {
            text += static_cast<char>(std::stoi(word.substr(at + 1, 2), nullptr, 16));
            at += 2;
        } else {
            const std::size_t letter = letters.find(word[at]);
            text += letter == letters.npos ? word[at] : characters[letter];
        }
    }
    return text;
}

/// A line of a file of calls.
struct Line {
    Words words;
    std::optional<std::string> result;
};

Line Parsed(const std::string& text) {
    static const std::regex pattern(R"re("((?:[^"\\]|\\.)*)"|([^\s"]+))re");
    Line line;
    for (std::sregex_iterator it(text.begin(), text.end(), pattern), end; it != end; ++it) {
        const std::string word = (*it)[2].matched ? it->str(2) : Unescaped(it->str(1));
        if (line.result.has_value()) {
            *line.result += (line.result->empty() ? "" : " ") + word;
        } else if (it->str() == "=") {
            line.result = "";
        } else {
            line.words.push_back(word);
        }
    }
    return line;
}

fs::file_time_type Now() {
    return fs::file_time_type::clock::now();
}

/// "mode owner group", the mode in octal.
std::string AccessOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    std::ostringstream text;
    text << std::oct << (status.st_mode & 07777U) << std::dec << ' ' << status.st_uid << ' ' << status.st_gid;
    return text.str();
}

std::string RecordsIn(const std::string& log) {
    std::string text = fs::exists(log) ? "" : "missing";
    for (const std::string& record : Records(ReadFile(log))) {
        text += (text.empty() ? "" : "; ") + record;
    }
    return text;
}

using S = const std::string&;

// clang-format off
const Calls onFiles = {
    {"write",     WriteFile},
    {"fill",      [](S file, std::size_t size) { WriteFile(file, std::string(size, 'x')); }},
    {"sample",    [](S name)             { fs::copy_file(TEST_DATA "/" + name, fs::path(name).filename()); }},
    {"resize",    [](S file, std::size_t size) { fs::resize_file(file, size); }},
    {"content",   [](S file)             { return fs::exists(file) ? ReadFile(file) : "missing"; }},
    {"size",      [](S file)             { return fs::file_size(file); }},
    {"age",       [](S file, int seconds) { fs::last_write_time(file, Now() - std::chrono::seconds(seconds)); }},
    {"isFresh",   [](S file)             { return fs::last_write_time(file) > Now() - std::chrono::seconds(30); }},
    {"exists",    doesFileExist},
    {"link",      [](S target, S link)   { fs::create_symlink(target, link); }},
    {"hardLink",  [](S target, S link)   { fs::create_hard_link(target, link); }},
    {"fifo",      [](const char* name)   { mkfifo(name, 0600); }},
    {"directory", [](S name)             { fs::create_directories(name); }},
    {"remove",    [](S name)             { fs::remove_all(name); }},
    {"mode",      [](S name, mode_t mode) { fs::permissions(name, static_cast<fs::perms>(mode)); }},
    {"owner",     [](const char* name, uid_t owner) { return lchown(name, owner, owner + 1); }},
    {"access",    AccessOf},
    {"rights",    [](S name)             { return AccessOf(name).substr(0, AccessOf(name).find(' ')); }},
    {"umask",     [](mode_t mask)        { umask(mask); }},
    {"log",       []                     { return batutil_LogOpen(".", "log", 1, false); }},
    {"closeLog",  batutil_LogClose},
    {"records",   RecordsIn},
    // Root becomes somebody else, whom rights bind; anybody else stays.
    {"asUser",    []                     { return getuid() == 0 ? seteuid(65534) : 0; }},
    {"asBefore",  []                     { return seteuid(getuid()); }},
    {"errno",     [](int number)         { errno = number; }},
};
// clang-format on

/// What `action` throws, and its cause; "nothing" when it comes back.
std::string Thrown(const std::function<std::string()>& action) {
    try {
        action();
    } catch (VError*) {
        const auto error = err_caught();
        auto* cause = dynamic_cast<VI18NError*>(error->GetChildError());
        return dynamic_cast<VI18NError&>(*error).what() + (cause == nullptr ? "" : " < " + cause->what());
    }
    return "nothing";
}

void MakeCall(Line line, const Calls& calls) {
    const std::string how = line.words.empty() ? "" : line.words[0];
    const bool fails = how == "dies" || how == "throws";
    ASSERT_TRUE(!fails || !line.result.value_or("").empty()) << "how does it fail?";
    line.words.erase(line.words.begin(), line.words.begin() + (fails ? 1 : 0));
    ASSERT_FALSE(line.words.empty()) << "no call";
    const auto call = calls.find(line.words[0]);
    ASSERT_TRUE(call != calls.end()) << "no such call";
    const auto made = [&] { return call->second({line.words.begin() + 1, line.words.end()}); };
    if (how == "dies") {
        EXPECT_DEATH(made(), *line.result);
        return;
    }
    try {
        const std::string result = how == "throws" ? Thrown(made) : made();
        const std::string expected = line.result.value_or(result);
        EXPECT_EQ(expected, result);
    } catch (const std::exception& failure) {
        ADD_FAILURE() << failure.what();
    } catch (VError*) {
        ADD_FAILURE() << Thrown([]() -> std::string { throw; });
    }
}

} // namespace

void MakeCalls(const std::string& name, Calls calls) {
    const std::string path = TEST_DATA "/calls/" + name + ".txt";
    std::ifstream file(path);
    EXPECT_TRUE(file.is_open()) << path;
    const CurrentTempDir scratch;
    const long openBefore = OpenFiles();
    const mode_t umaskBefore = umask(022);
    calls.insert(onFiles.begin(), onFiles.end());
    int number = 0;
    bool isPermitted = true;
    for (std::string text; isPermitted && std::getline(file, text);) {
        const testing::ScopedTrace trace(path.c_str(), ++number, text);
        if (text == "root") {
            WriteFile("given", "");
            isPermitted = lchown("given", 7, 7) == 0;
        } else if (!text.empty() && text[0] != '#') {
            MakeCall(Parsed(text), calls);
        }
    }
    umask(umaskBefore);
    EXPECT_GT(number, 0) << path;
    EXPECT_EQ(OpenFiles(), openBefore);
    if (!isPermitted) {
        GTEST_SKIP() << "only root gives files away, as the other calls do";
    }
}
