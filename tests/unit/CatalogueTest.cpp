#include "Mis/TaskData.h"
#include "Mis/TaskData/KeyTable.h"
#include "Mis/VError.h"
#include "Plugins/IPluginsCommon.h"
#include "Plugins/Unix/IPlugins.h"
#include "classlib/Signature.h"
#include "classlib/String.h"
#include "tests/support/Calls.h"

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

} // namespace
