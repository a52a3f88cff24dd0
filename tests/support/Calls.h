#pragma once

#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

using Words = std::vector<std::string>;

/// A function that a file of calls can name: takes its arguments as words, and gives its result as text.
class Call {
public:
    /// The result of a function that returns nothing is that of `after`.
    template <class Function>
    // NOLINTNEXTLINE(google-explicit-constructor): a table of calls holds plain functions and lambdas
    Call(
        Function function, std::function<std::string()> after = [] { return std::string(); })
        : m_call(OnWords(std::function(std::move(function)), std::move(after))) {}

    std::string operator()(const Words& words) const { return m_call(words); }

private:
    template <class Result, class... Arguments>
    static auto OnWords(std::function<Result(Arguments...)> function, std::function<std::string()> after) {
        return [function, after](const Words& words) -> std::string {
            if (words.size() != sizeof...(Arguments)) {
                throw std::invalid_argument("takes " + std::to_string(sizeof...(Arguments)) + " arguments");
            }
            [[maybe_unused]] auto word = words.begin();
            std::tuple<std::decay_t<Arguments>...> arguments{As<std::decay_t<Arguments>>(*word++)...};
            if constexpr (std::is_void_v<Result>) {
                std::apply(function, arguments);
                return after();
            } else if constexpr (std::is_pointer_v<Result>) {
                const Result text = std::apply(function, arguments);
                return text == nullptr ? "null" : text;
            } else {
                std::ostringstream text;
                text << std::apply(function, arguments);
                return text.str();
            }
        };
    }

    template <class T> static T As(const std::string& word) {
        if constexpr (std::is_same_v<T, char>) {
            return word.at(0);
        } else if constexpr (std::is_integral_v<T>) {
            std::size_t end = 0;
            const T number = static_cast<T>(std::stoll(word, &end, 0));
            return end == word.size() ? number : throw std::invalid_argument(word + " is no number");
        } else if constexpr (std::is_pointer_v<T>) {
            return word == "null" ? nullptr : word.c_str();
        } else {
            return T(word);
        }
    }

    std::function<std::string(const Words&)> m_call;
};

using Calls = std::map<std::string, Call>;

/// Makes the calls of tests/data/calls/NAME.txt one after the other in a scratch directory, and compares their results.
/// No call may leave a file open.
///
/// A line names a call, its arguments, and after "=" its result; without "=" any result will do. Words are separated by
/// blanks; one with blanks or escapes (\n \t \r \v \f \" \\ \xFF) stands in quotes. Before a call may stand "throws",
/// for the error that it throws, or "dies", for what its process then says, a pattern. After a line "root" come calls
/// that only root can make. A line that begins with "#" is a comment.
///
/// To `calls` come those on files, which stand in Calls.cpp.
void MakeCalls(const std::string& name, Calls calls);
