#include "MessageLIB/MessageIds.h"
#include "Mis/Report.h"
#include "Mis/TaskData.h"
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
#include <functional>
#include <random>
#include <set>
#include <span>
#include <sstream>

#include <gmock/gmock.h>

namespace {

struct Plugin {
    const char* name;
    const char* description;
    const char* library;
    int code;
    int moduleNumber;
    const char* module;
};

const Plugin plugins[] = {
    {"EXCH", "Exchange DR", "", 0, 200, "EXDB"},
    {"EXCHMAPI", "Exchange MAPI", "", 1, 201, "EXMA"},
    {"SQLSERVER_70", "MS SQL Server backup and recovery", "", 2, 202, "MSQL"},
    {"ORACLE", "Oracle backup and recovery", "oracle.so", 3, 203, "ORCL"},
    {"ORACLE_8I_SOLARIS", "Oracle backup and recovery", "oracle8i.so", 3, 203, "ORCL"}, // an alias
    {"ORACLE_RMAN", "Oracle RMAN backup and recovery", "orarman.so", 4, 204, "RMAN"},
    {"OTM", "OTM", "", 5, 205, "OTM "},
    {"VAULT", "Vault backup", "", 6, 206, "VBA "},
    {"CLUSTER", "Cluster virtual servers", "", 7, 207, "CLUS"},
    {"SMS", "Novell SMS", "smsPlugin.so", 8, 208, "SMS "},
    {"VMWARE", "VMware ESX Console", "vmwarePlugin.so", 9, 209, "VMWR"},
    {"SS", "System State", "", 10, 210, "SS  "},
    {"SHAREPOINT", "SharePoint", "", 11, 211, "SPP "},
    {"SV", "System Volume", "", 12, 212, "SV  "},
    {"EXCHANGE_VSS", "Exchange DR (VSS)", "", 13, 213, "EXVS"},
    {"DPM", "DPM Server", "", 14, 214, "DPM "},
};

TEST(Plugins, HoldTheirRows) {
    for (const auto& [name, description, library, code, moduleNumber, module] : plugins) {
        std::string lower = name;
        std::transform(lower.begin(), lower.end(), lower.begin(), txccl::string::Lowered);
        EXPECT_EQ(string2code(name), code) << name;
        EXPECT_STREQ(string2pluginName(lower), description) << name;
        EXPECT_STREQ(string2dllName(lower.c_str()), library) << name;
        EXPECT_EQ(Plugins::log_codes[code], moduleNumber) << name;
        EXPECT_STREQ(msg_mod2str(moduleNumber), module) << name;
    }
}

TEST(Plugins, TablesAgree) {
    for (int code = 0; code < Plugins::UNDEFINED; ++code) {
        ASSERT_NE(Plugins::dll_names[code], nullptr) << "a row is missing";
        EXPECT_EQ(string2code(std::string(Plugins::plugin_names[code])), code);
        EXPECT_STREQ(string2pluginName(Plugins::plugin_names[code]), Plugins::plugin_description[code]);
        EXPECT_EQ(Plugins::log_codes[code], 200 + code);
        EXPECT_STREQ(IPlugins::instance()->mod2str(200 + code), Plugins::mod_strs[code]);
    }
    EXPECT_EQ(string2code("oracle_8i_solaris"), Plugins::UNDEFINED) << "known in upper case only";
    EXPECT_EQ(string2code(VString("SHARE")), Plugins::UNDEFINED);
    EXPECT_STREQ(string2pluginName(VString("SHARE")) + string2dllName(std::string("SHARE")), "");
    EXPECT_EQ(Plugins::plugin_names[Plugins::UNDEFINED] + std::string(Plugins::mod_strs[Plugins::UNDEFINED]), "");
    EXPECT_EQ(Plugins::log_codes[Plugins::UNDEFINED], 0);
    EXPECT_EQ(Plugins::dll_names[Plugins::UNDEFINED], nullptr);
}

TEST(Modules, HoldTheirRows) {
    // clang-format off
    const char* const modules[] = {
        "NONE", "AGNT", "OPSY", "AGNT", "DAEM", "MIGR", "UPDT", "SSIN", "SSOT", "GENC",
        "COPY", "BKUP", "REST", "MERG", "LIST", "DEVC", "BFFR", "SIDF", "DELT", "NDIR",
        "NCFG", "CLNT", "SRVC", "CXXX", "SXXX", "RPCE", "CMPR", "CRCK", "DATE", "HEDR",
        "CTLG", "VIMA", "DISK", "TAPE", "SOCK", "ACCT", "SYNC", "ENCR", "BILL", "LOGS",
        "FNAM", "VACS", "SSET", "SYST", "LIBR", "PARS", "VRFY", "PURG", "COMP", "RSYN",
        "RGST", "NDSV", "BIND", "QMGR", "POOL", "BSTR", "PMGR", "PIDX", "PFLL", "ALYZ",
        "UTIL", "PROG", "SMGR", "ROBL", "DBUT", "PIPE", "PMGR", "ROBA", "SCSI", "ROBT",
        "ACNT", "ACSM", "SCRB", "LIBN", "SERG", "VSTR", "JMGR", "CONV", "FLM ", "BRTP",
        "HTML", "INDX", "SS  ", "SCAN", "VSMP", "RENM", "PLGN", "EXDB", "EXMA", "    ",
        "GCFG", "MGMT", "RSM ", "EVTL", "TS  ", "VSS ", "FLT ", "CLUS", "PWHD", "SQL ",
        "SOAP", "CAT ", "SMS ", "VM30", "SPP ", "BMR",
    };
    // clang-format on
    for (std::size_t number = 0; number < std::size(modules); ++number) {
        EXPECT_STREQ(msg_mod2str(static_cast<int>(number)), modules[number]) << number;
    }
    EXPECT_EQ(msg_mod2str(-1) + std::string(msg_mod2str(199)), "");
    EXPECT_DEATH(msg_mod2str(200 + Plugins::UNDEFINED), "mod >= 200 && mod < 200 \\+ UNDEFINED");
    EXPECT_DEATH(IPlugins::instance()->mod2str(199), "mod >= 200 && mod < 200 \\+ UNDEFINED");
}

TEST(Messages, NumbersThatNoRunLogs) {
    EXPECT_EQ(err_make(msgCannotSetBinary)->what(), "UTIL-E-7951");
    EXPECT_EQ(err_make(msgCannotSetName)->what(), "UTIL-E-7952");
}

const std::span<const _TOInfo> keys(taskOptions, taskOptionCount);

// A digest for each hundred rows.
TEST(KeyTable, HoldsItsRows) {
    const char* const digests[] = {
        "b40e3924f3ad738b067f4770b90f8681ea7bf3e3", "27741e1d384352c25ff24a7950d4c3c163637714",
        "ac98cf62b6fad133d2dbc286a7a6cd8ea2bd8cba", "89fa4432a0f31959f012b148bc6eceb436f8009b",
        "8767e997b6654be6b25dc211db72ffbe30310866",
    };
    ASSERT_EQ(std::size(digests), (keys.size() + 99) / 100);
    for (std::size_t hundred = 0; hundred < std::size(digests); ++hundred) {
        std::ostringstream rows;
        for (const _TOInfo& row :
             keys.subspan(hundred * 100, std::min<std::size_t>(100, keys.size() - hundred * 100))) {
            rows << row.id << '|' << row.typeMask << '|' << row.minVersion << '|' << row.maxVersion << '|'
                 << row.keyName << '|' << row.description << '|' << row.typeSpec << '\n';
        }
        EXPECT_EQ(txccl::Signature::of(rows.str()), digests[hundred]) << rows.str();
    }
    EXPECT_EQ(taskOptions[taskOptionCount].id, 0) << "the end";
}

TEST(KeyTable, LeavesResultsWithoutARow) {
    _TOInfo info = {};
    EXPECT_EQ(VTaskData::GetKeyInfo(keys[7].id, info), 1);
    EXPECT_EQ(VTaskData::GetKeyInfo(INT_MAX, info), 0);
    EXPECT_EQ(info.keyName, keys[7].keyName);
    std::string name;
    EXPECT_EQ(VTaskData::GetKeyName(keyPluginCode + 3, name, lastFormatVersion, 1), 1);
    EXPECT_EQ(VTaskData::GetKeyName(INT_MAX, name, lastFormatVersion, 1), 0);
    EXPECT_EQ(name, "Plugin3.Code");
    int key = 7;
    EXPECT_EQ(VTaskData::GetKeyID("Plugin3.", &key, lastFormatVersion, 1), 0);
    EXPECT_EQ(key, 7);
}

/// The first row that fits, null for none.
template <class Fits> const _TOInfo* First(Fits fits) {
    const auto row = std::find_if(keys.begin(), keys.end(), fits);
    return row == keys.end() ? nullptr : &*row;
}

/// How many numbers the "%" of a name can express.
int SpanOf(const _TOInfo& row) {
    constexpr int spans[] = {1, 10, 100, 1000};
    return spans[std::min<long>(3, std::count(row.keyName, row.keyName + std::strlen(row.keyName), '%'))];
}

TEST(KeyTable, AnswersAsAScanDoes) {
    std::set<int> numbers = {0, INT_MAX, INT_MIN};
    for (const _TOInfo& row : keys) {
        for (int key = row.id; key < row.id + SpanOf(row); key += 13) {
            numbers.insert({key, row.id - 1, row.id + SpanOf(row)});
        }
    }
    std::mt19937 random(1);
    const auto pick = [&random](const auto&... values) { return std::array{values...}[random() % sizeof...(values)]; };
    for (const int key : numbers) {
        const int version = pick(671, 101, 102, 100, 672);
        const int type = pick(1, 1, 2, 4, 0x10000, 0);
        const int step = key > 29999 ? 1000 : key > 19999 ? 100 : key > 9999 ? 10 : 1;
        const auto isLegal = [version, type](const _TOInfo& row) {
            return (row.typeMask & static_cast<unsigned>(type)) != 0 && row.minVersion <= version &&
                   version <= row.maxVersion;
        };
        const auto hasId = [id = key - key % step](const _TOInfo& row) { return row.id == id; };
        const _TOInfo* last = nullptr;
        for (const _TOInfo& row : keys) {
            last = key >= row.id && key < row.id + SpanOf(row) && isLegal(row) ? &row : last;
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

TEST(KeyTable, MatchesAWordWithAPattern) {
    int index = -1;
    EXPECT_TRUE(VTaskData::KeyMatch(" \tA027 x", "a%%%", &index));
    EXPECT_EQ(index, 27);
    EXPECT_TRUE(VTaskData::KeyMatch("x99999999999y", "X%%%%%%%%%%%Y", &index));
    EXPECT_EQ(index, INT_MAX);
    for (const char* text : {"a7", "a777", "a7b", "ab7", "a%%", "a 77", ""}) {
        EXPECT_FALSE(VTaskData::KeyMatch(text, "a%%", &index)) << text;
    }
}

} // namespace
