#include "Mis/TaskData.h"
#include "Mis/TaskData/KeyTable.h"
#include "Mis/VError.h"
#include "Plugins/IPluginsCommon.h"
#include "Plugins/Unix/IPlugins.h"
#include "classlib/Signature.h"
#include "classlib/String.h"
#include "tests/support/Calls.h"
#include "tests/support/TempDir.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <functional>
#include <map>
#include <numeric>
#include <random>
#include <regex>
#include <set>
#include <span>
#include <sstream>

#include <gmock/gmock.h>

namespace {

/// All that the catalogue holds of a plug-in.
std::string Plugin(const std::string& name) {
    const int code = string2code(name);
    EXPECT_EQ(string2code(VString(name.c_str())), code);
    EXPECT_STREQ(string2pluginName(name), string2pluginName(name.c_str()));
    std::ostringstream cells;
    cells << code << ' ' << Plugins::plugin_names[code] << " | " << string2pluginName(name) << " | "
          << string2dllName(name) << " | " << Plugins::mod_strs[code] << ' ' << Plugins::log_codes[code] << ' '
          << msg_mod2str(Plugins::log_codes[code]);
    return cells.str();
}

TEST(Catalogue, HoldsPluginsAndModules) {
    const Calls calls = {
        {"plugin", Plugin},
        {"module", msg_mod2str},
        {"pluginModule", [](int code) { return IPlugins::instance()->mod2str(code); }},
    };
    MakeCalls("Catalogue", calls);
    std::string modules;
    for (int module = 0; module < 106; ++module) {
        modules += std::string(msg_mod2str(module)) + '\n';
    }
    EXPECT_EQ(txccl::Signature::of(modules), "2ceb0c3b1e900ff3650e62146707c18379bedf8e");
}

TEST(Catalogue, StandsInTheManual) {
    const auto row = [](const std::string& name, int code, const std::string& library) {
        const std::string text = name + " Ta " + Plugins::plugin_description[code] + " Ta";
        return ".It " + text + (library.empty() ? "\n" : " " + library + "\n");
    };
    std::set<std::string> rows = {row("ORACLE_8I_SOLARIS", Plugins::ORACLE_8I_SOLARIS, Plugins::oracle_8i_solaris_dll)};
    for (int code = 0; code < Plugins::UNDEFINED; ++code) {
        rows.insert(row(Plugins::plugin_names[code], code, Plugins::dll_names[code]));
    }
    const std::string table = std::accumulate(rows.begin(), rows.end(), std::string(" Ta Sy Library\n")) + ".El\n";
    EXPECT_THAT(ReadFile(MANUAL "/PlugSetter.8"), testing::HasSubstr(table));
}

const std::span<const _TOInfo> rows(taskOptions, 497);

TEST(KeyTable, HoldsTheRows) {
    std::ostringstream cells;
    for (const auto& [id, types, first, last, name, description, spec] : rows) {
        cells << id << '|' << types << '|' << first << '|' << last << '|' << name << '|' << description << '|' << spec
              << '\n';
    }
    EXPECT_EQ(txccl::Signature::of(cells.str()), "7fe36faa3e4808a4bae4c572e6880d655f40c5fb");
    EXPECT_EQ(std::count_if(rows.begin(), rows.end(), std::mem_fn(&_TOInfo::IsRawData)), 32);
    _TOInfo info = {};
    EXPECT_EQ(VTaskData::GetKeyInfo(rows[7].id, info), 1);
    EXPECT_EQ(info.keyName, rows[7].keyName);
    EXPECT_EQ(VTaskData::GetKeyInfo(INT_MAX, info), 0);
}

/// The first row that fits, null for none.
template <class Fits> const _TOInfo* First(Fits fits) {
    const auto row = std::find_if(rows.begin(), rows.end(), fits);
    return row == rows.end() ? nullptr : &*row;
}

TEST(KeyTable, AnswersAsAScanOfTheRowsDoes) {
    /// How many numbers the "%" of a name can express.
    const auto spanOf = [](const _TOInfo& row) {
        constexpr int spans[] = {1, 10, 100, 1000};
        return spans[std::min<long>(3, std::count(row.keyName, row.keyName + std::strlen(row.keyName), '%'))];
    };
    std::set<int> keys = {0, INT_MAX, INT_MIN};
    for (const _TOInfo& row : rows) {
        for (int key = row.id - 1; key < row.id + (spanOf(row) == 1 ? 2 : 1000); ++key) {
            keys.insert(key);
        }
    }
    std::mt19937 random(1);
    const auto pick = [&random](const auto&... values) { return std::array{values...}[random() % sizeof...(values)]; };
    for (const int key : keys) {
        const int version = pick(671, 101, 102, 100, 672);
        const int type = pick(1, 1, 2, 4, 0x10000, 0);
        const int step = key > 29999 ? 1000 : key > 19999 ? 100 : key > 9999 ? 10 : 1;
        const auto isLegal = [version, type](const _TOInfo& row) {
            return (row.typeMask & static_cast<unsigned>(type)) != 0 && row.minVersion <= version &&
                   version <= row.maxVersion;
        };
        const auto hasId = [id = key - key % step](const _TOInfo& row) { return row.id == id; };
        const _TOInfo* last = nullptr;
        for (const _TOInfo& row : rows) {
            const bool near = key >= row.id && key < row.id + 1000;
            last = near && key < row.id + spanOf(row) && isLegal(row) ? &row : last;
        }
        ASSERT_EQ(KeyTable::FirstOf(key), First(hasId)) << key;
        ASSERT_EQ(KeyTable::FirstLegal(key, version, type),
                  First([&](const _TOInfo& row) { return hasId(row) && isLegal(row); }))
            << key;
        ASSERT_EQ(KeyTable::LastNaming(key, version, type), last) << key;
        if (last == nullptr || *last->keyName == '\0') {
            continue;
        }
        std::string name = KeyTable::NameOf(*last, key);
        name[random() % name.size()] = pick('0', '9', 'A', 'x', '.', '%', ' ', '\t', name[0], name[0]);
        name += pick("", " ", "\t x");
        int index = 0;
        int found = -1;
        const _TOInfo* named =
            First([&](const _TOInfo& row) { return isLegal(row) && KeyTable::Match(name, row.keyName, &index); });
        ASSERT_EQ(KeyTable::FirstNamed(name, version, type, &found), named) << name;
        ASSERT_EQ(named == nullptr ? index : found, index) << name;
    }
}

TEST(KeyTable, StandsInTheManual) {
    const std::map<std::string, std::string> kinds = {{"#H", "heading"},  {"#S", "string"},  {"#P", "password"},
                                                      {"#R", "raw data"}, {"#B", "boolean"}, {"#N", "number"}};
    std::vector<std::string> shown;
    for (const _TOInfo& row : rows) {
        const auto kind = kinds.find(row.typeSpec);
        const std::string names = std::regex_replace(row.typeSpec + 1, std::regex("/"), ", ");
        const std::string label = row.description;
        shown.push_back((*row.keyName == '\0' ? "(no name)" : row.keyName + std::string()) + "\n" + label +
                        (label.empty() ? "" : ": ") + (kind == kinds.end() ? "one of " + names : kind->second) +
                        "; versions " + std::to_string(row.minVersion) + "\\(en" + std::to_string(row.maxVersion) +
                        ", " + (row.typeMask == 0xffff ? "all types" : "type " + std::to_string(row.typeMask)));
    }
    const std::string page = std::regex_replace(ReadFile(KEYS_PAGE), std::regex("\\\\&"), "");
    const std::regex item("\\.It (.*\n.*)");
    const std::vector<std::string> items(std::sregex_token_iterator(page.begin(), page.end(), item, 1), {});
    EXPECT_THAT(items, testing::UnorderedElementsAreArray(shown));
}

} // namespace
