#include "Mis/KeyTable.h"
#include "Mis/VError.h"
#include "Plugins/IPluginsCommon.h"
#include "Plugins/Unix/IPlugins.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <random>
#include <set>
#include <span>

#include <gmock/gmock.h>

namespace {

TEST(Catalogue, LooksUpInAnyCase) {
    const char* const oracle = "Oracle backup and recovery";
    // clang-format off
    const std::tuple<const char*, int, const char*, const char*> cases[] = {
        {"exch", 0, "Exchange DR", ""},               {"EXCHMAPI", 1, "Exchange MAPI", ""},
        {"Oracle", 3, oracle, "oracle.so"},           {"SQLSERVER_70", 2, "MS SQL Server backup and recovery", ""},
        {"OTM", 5, "OTM", ""},                {"ORACLE_RMAN", 4, "Oracle RMAN backup and recovery", "orarman.so"},
        {"VAULT", 6, "Vault backup", ""},             {"Cluster", 7, "Cluster virtual servers", ""},
        {"SMS", 8, "Novell SMS", "smsPlugin.so"},     {"VMWARE", 9, "VMware ESX Console", "vmwarePlugin.so"},
        {"SS", 10, "System State", ""},               {"SHAREPOINT", 11, "SharePoint", ""},
        {"sv", 12, "System Volume", ""},              {"EXCHANGE_VSS", 13, "Exchange DR (VSS)", ""},
        {"DPM", 14, "DPM Server", ""},                {"ORACLE_8I_SOLARIS", 3, oracle, "oracle8i.so"},
        {"SHARE", 15, "", ""}, {"", 15, "", ""},      {"oracle_8i_solaris", 15, oracle, "oracle8i.so"},
    };
    // clang-format on
    for (const auto& [name, code, description, library] : cases) {
        EXPECT_EQ(string2code(std::string(name)), code) << name;
        EXPECT_STREQ(string2pluginName(name), description);
        EXPECT_STREQ(string2dllName(name), library);
    }
}

TEST(Catalogue, ModulesHaveFourCharacters) {
    for (int module = 0; module < 215; ++module) {
        const char* text = msg_mod2str(module);
        EXPECT_EQ(std::strlen(text), module == 105 ? 3U : module > 105 && module < 200 ? 0U : 4U) << module;
    }
}

const std::span<const _TOInfo> rows(taskOptions, 497);

/// How many numbers the "%" of a name can express.
int SpanOf(const char* name) {
    const auto marks = std::count(name, name + std::strlen(name), '%');
    return marks == 0 ? 1 : marks == 1 ? 10 : marks == 2 ? 100 : 1000;
}

TEST(KeyTable, AnswersAsAScanOfTheRowsDoes) {
    const KeyTable& table = KeyTable::Instance();
    std::set<int> keys = {0, INT_MAX, INT_MIN};
    for (const _TOInfo& row : rows) {
        for (int key = row.id - 1; key < row.id + (SpanOf(row.keyName) == 1 ? 2 : 1000); ++key) {
            keys.insert(key);
        }
    }
    std::mt19937 random(1);
    const auto pick = [&random](const auto&... values) { return std::array{values...}[random() % sizeof...(values)]; };
    for (const int key : keys) {
        const int version = pick(671, 101, 102, 100, 672);
        const unsigned type = pick(1U, 1U, 2U, 4U, 0x10000U, 0U);
        const int step = key > 29999 ? 1000 : key > 19999 ? 100 : key > 9999 ? 10 : 1;
        const auto isLegal = [version, type](const _TOInfo& row) {
            return (row.typeMask & type) != 0 && row.minVersion <= version && version <= row.maxVersion;
        };
        const _TOInfo* any = nullptr;
        const _TOInfo* first = nullptr;
        const _TOInfo* last = nullptr;
        for (const _TOInfo& row : rows) {
            const bool hasId = row.id == key - key % step;
            any = hasId && any == nullptr ? &row : any;
            first = hasId && first == nullptr && isLegal(row) ? &row : first;
            const bool near = key >= row.id && key < row.id + 1000;
            last = near && key < row.id + SpanOf(row.keyName) && isLegal(row) ? &row : last;
        }
        const int kind = static_cast<int>(type);
        ASSERT_EQ(table.FirstOf(key), any) << key;
        ASSERT_EQ(table.FirstLegal(key, version, kind), first) << key;
        ASSERT_EQ(table.LastNaming(key, version, kind), last) << key;
        if (last == nullptr || *last->keyName == '\0') {
            continue;
        }
        std::string name = KeyTable::NameOf(*last, key);
        name[random() % name.size()] = pick('0', '9', 'A', 'x', '.', '%', ' ', '\t', name[0], name[0]);
        name += pick("", " ", "\t x");
        int index = 0;
        const auto named = std::find_if(rows.begin(), rows.end(), [&](const _TOInfo& row) {
            return isLegal(row) && KeyTable::Match(name, row.keyName, &index);
        });
        int found = -1;
        ASSERT_EQ(table.FirstNamed(name, version, kind, &found), named == rows.end() ? nullptr : &*named) << name;
        ASSERT_TRUE(named == rows.end() || found == index) << name;
    }
    int index = 0;
    EXPECT_TRUE(KeyTable::Match(" \tA007 x", "a%%%", &index) && index == 7);
    for (const char* text : {"a7", "a777", "a7b", "ab7", "a%%", "a", "", "a 77"}) {
        EXPECT_FALSE(KeyTable::Match(text, "a%%", &index)) << text;
    }
}

TEST(KeyTable, EachNumberHasOneNameThatStaysLegal) {
    for (const _TOInfo& row : rows) {
        const auto rival = std::find_if(rows.begin(), rows.end(), [&row](const _TOInfo& other) {
            return &other != &row && other.id == row.id && (other.typeMask & row.typeMask) != 0 &&
                   other.maxVersion == 671;
        });
        EXPECT_EQ(rival == rows.end(), row.maxVersion == 671) << row.id;
        EXPECT_TRUE(rival == rows.end() || *row.keyName == '#' || std::string(rival->keyName) == row.keyName) << row.id;
        EXPECT_FALSE(*row.keyName == '\0' && (row.typeMask & 1) != 0) << "a line without a key in a global file";
    }
    EXPECT_EQ(taskOptions[497].id, 0);
}

} // namespace
