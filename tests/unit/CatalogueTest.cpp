#include "Mis/TaskData/KeyTable.h"
#include "Mis/VError.h"
#include "Plugins/IPluginsCommon.h"
#include "Plugins/Unix/IPlugins.h"
#include "classlib/Signature.h"
#include "classlib/String.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <random>
#include <set>
#include <span>
#include <sstream>

#include <gmock/gmock.h>

namespace {

// clang-format off
const std::tuple<const char*, const char*, const char*, int, const char*> plugins[] = {
    {"EXCH",         "Exchange DR",                       "EXDB", 200, ""},
    {"EXCHMAPI",     "Exchange MAPI",                     "EXMA", 201, ""},
    {"SQLSERVER_70", "MS SQL Server backup and recovery", "MSQL", 202, ""},
    {"ORACLE",       "Oracle backup and recovery",        "ORCL", 203, "oracle.so"},
    {"ORACLE_RMAN",  "Oracle RMAN backup and recovery",   "RMAN", 204, "orarman.so"},
    {"OTM",          "OTM",                               "OTM ", 205, ""},
    {"VAULT",        "Vault backup",                      "VBA ", 206, ""},
    {"CLUSTER",      "Cluster virtual servers",           "CLUS", 207, ""},
    {"SMS",          "Novell SMS",                        "SMS ", 208, "smsPlugin.so"},
    {"VMWARE",       "VMware ESX Console",                "VMWR", 209, "vmwarePlugin.so"},
    {"SS",           "System State",                      "SS  ", 210, ""},
    {"SHAREPOINT",   "SharePoint",                        "SPP ", 211, ""},
    {"SV",           "System Volume",                     "SV  ", 212, ""},
    {"EXCHANGE_VSS", "Exchange DR (VSS)",                 "EXVS", 213, ""},
    {"DPM",          "DPM Server",                        "DPM ", 214, ""},
    {"",             "",                                  "",       0, nullptr},
};
// clang-format on

TEST(Catalogue, HoldsThePlugins) {
    int code = 0;
    for (const auto& [name, description, module, logCode, library] : plugins) {
        SCOPED_TRACE(name);
        EXPECT_STREQ(Plugins::plugin_names[code], name);
        EXPECT_STREQ(Plugins::plugin_description[code], description);
        EXPECT_STREQ(Plugins::mod_strs[code], module);
        EXPECT_EQ(Plugins::log_codes[code], logCode);
        EXPECT_STREQ(Plugins::dll_names[code], library);
        EXPECT_STREQ(msg_mod2str(logCode), logCode == 0 ? "NONE" : module);
        std::string lower = name;
        std::transform(lower.begin(), lower.end(), lower.begin(), txccl::string::Lowered);
        EXPECT_EQ(string2code(lower), code++);
        EXPECT_STREQ(string2pluginName(lower.c_str()), description);
        EXPECT_STREQ(string2dllName(lower.c_str()), library == nullptr ? "" : library);
    }
    for (const char* alias : {"ORACLE_8I_SOLARIS", "oracle_8i_solaris"}) {
        EXPECT_EQ(string2code(std::string(alias)), *alias == 'O' ? Plugins::ORACLE : Plugins::UNDEFINED);
        EXPECT_STREQ(string2pluginName(alias), "Oracle backup and recovery");
        EXPECT_STREQ(string2dllName(alias), "oracle8i.so");
    }
    EXPECT_EQ(string2code(std::string("SHARE")), Plugins::UNDEFINED);
}

TEST(Catalogue, HoldsTheModules) {
    std::string modules;
    for (int module = 0; module < 106; ++module) {
        modules += std::string(msg_mod2str(module)) + '\n';
    }
    EXPECT_EQ(txccl::Signature::of(modules), "2ceb0c3b1e900ff3650e62146707c18379bedf8e");
    for (const int none : {-1, 106, 199}) {
        EXPECT_STREQ(msg_mod2str(none), "") << none;
    }
    EXPECT_DEATH(IPlugins::instance()->mod2str(199), "mod >= 200 && mod < 200 \\+ UNDEFINED");
    EXPECT_DEATH(msg_mod2str(215), "mod >= 200 && mod < 200 \\+ UNDEFINED");
}

const std::span<const _TOInfo> rows(taskOptions, 497);

TEST(KeyTable, HoldsTheRows) {
    std::ostringstream cells;
    for (const auto& [id, types, first, last, name, description, spec] : rows) {
        cells << id << '|' << types << '|' << first << '|' << last << '|' << name << '|' << description << '|' << spec
              << '\n';
    }
    EXPECT_EQ(txccl::Signature::of(cells.str()), "7fe36faa3e4808a4bae4c572e6880d655f40c5fb");
}

/// How many numbers the "%" of a name can express.
int SpanOf(const char* name) {
    const auto marks = std::count(name, name + std::strlen(name), '%');
    return marks == 0 ? 1 : marks == 1 ? 10 : marks == 2 ? 100 : 1000;
}

template <class Fits> const _TOInfo* First(Fits fits) {
    const auto row = std::find_if(rows.begin(), rows.end(), fits);
    return row == rows.end() ? nullptr : &*row;
}

TEST(KeyTable, AnswersAsAScanOfTheRowsDoes) {
    const KeyTable table;
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
        const auto hasId = [id = key - key % step](const _TOInfo& row) { return row.id == id; };
        const auto isFirst = [&](const _TOInfo& row) { return hasId(row) && isLegal(row); };
        const _TOInfo* last = nullptr;
        for (const _TOInfo& row : rows) {
            const bool near = key >= row.id && key < row.id + 1000;
            last = near && key < row.id + SpanOf(row.keyName) && isLegal(row) ? &row : last;
        }
        const int kind = static_cast<int>(type);
        ASSERT_EQ(table.FirstOf(key), First(hasId)) << key;
        ASSERT_EQ(table.FirstLegal(key, version, kind), First(isFirst)) << key;
        ASSERT_EQ(table.LastNaming(key, version, kind), last) << key;
        if (last == nullptr || *last->keyName == '\0') {
            continue;
        }
        std::string name = KeyTable::NameOf(*last, key);
        name[random() % name.size()] = pick('0', '9', 'A', 'x', '.', '%', ' ', '\t', name[0], name[0]);
        name += pick("", " ", "\t x");
        int index = 0;
        const _TOInfo* named =
            First([&](const _TOInfo& row) { return isLegal(row) && KeyTable::Match(name, row.keyName, &index); });
        int found = -1;
        ASSERT_EQ(table.FirstNamed(name, version, kind, &found), named) << name;
        ASSERT_EQ(named == nullptr ? index : found, index) << name;
    }
}

TEST(KeyTable, MatchesAWordWithAPattern) {
    int index = 0;
    EXPECT_TRUE(KeyTable::Match(" \tA007 x", "a%%%", &index));
    EXPECT_EQ(index, 7);
    for (const char* text : {"a7", "a777", "a7b", "ab7", "a%%", "a", "", "a 77"}) {
        EXPECT_FALSE(KeyTable::Match(text, "a%%", &index)) << text;
    }
}

} // namespace
