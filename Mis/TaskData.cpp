#include "Mis/TaskData.h"

#include "Mis/TaskData/KeyTable.h"
#include "Mis/TaskData/TaskValue.h"
#include "classlib/String.h"

#include <cassert>
#include <cstring>
#include <utility>
#include <vector>

using txccl::string::EqualIgnoringCase;

bool VTaskData::extensionLoaded = false;

VTaskData::VTaskData(const std::string& fileName, bool rawMode) : m_fileName(fileName), m_rawMode(rawMode) {}

VTaskData::VTaskData(const char* fileName, bool rawMode)
    : VTaskData(std::string(fileName == nullptr ? "" : fileName), rawMode) {}

VTaskData::VTaskData(const VString& fileName, bool rawMode) : VTaskData(static_cast<const char*>(fileName), rawMode) {}

int VTaskData::SetComment(const std::string& comment) {
    m_comment = comment;
    return 1;
}

int VTaskData::SetComment(const VString& comment) {
    return SetComment(static_cast<const char*>(comment));
}

int VTaskData::SetComment(const char* comment) {
    return SetComment(std::string(comment == nullptr ? "" : comment));
}

int VTaskData::GetRaw(int key, std::string* out) const {
    out->clear();
    const VTDEntry* entry = m_entries.Find(key);
    if (entry == nullptr) {
        return 0;
    }
    *out = entry->GetValue();
    return 1;
}

int VTaskData::GetString(int key, std::string* out) const {
    const int found = GetRaw(key, out);
    if (found > 0 && IsConverted(key)) {
        *out = m_codePageToUtf8.convert(*out);
    }
    return found;
}

int VTaskData::GetString(int key, VString* out) const {
    std::string value;
    const int found = GetString(key, &value);
    *out = value.c_str();
    return found;
}

int VTaskData::GetString(int key, char* buf) const {
    *buf = '\0';
    std::string value;
    const int found = GetString(key, &value);
    if (found > 0) {
        std::memcpy(buf, value.c_str(), value.size() + 1);
    }
    return found;
}

int VTaskData::SetRaw(int key, const std::string& value, bool overwrite) {
    return Put(key, value, overwrite);
}

/// `buffer` as in VTDEntry::SetValue.
int VTaskData::Put(int key, std::string_view value, bool overwrite, std::string* buffer) {
    if (!Fits(key, value)) {
        return 0;
    }
    VTDEntry* entry = m_entries.Find(key);
    if (entry == nullptr) {
        VTDEntry created(key, std::string(), m_version, m_type);
        created.SetValue(txccl::string::Crop(value), buffer);
        m_entries.Append(std::move(created));
        return 1;
    }
    if (!overwrite) {
        return 0;
    }
    entry->SetValue(value, buffer);
    return 1;
}

int VTaskData::SetString(int key, const std::string& value, bool overwrite) {
    return SetRaw(key, IsConverted(key) ? m_utf8ToCodePage.convert(value) : value, overwrite);
}

int VTaskData::SetString(int key, const char* value, bool overwrite) {
    return SetString(key, std::string(value == nullptr ? "" : value), overwrite);
}

int VTaskData::SetString(int key, const VString& value, bool overwrite) {
    return SetString(key, static_cast<const char*>(value), overwrite);
}

/// True when values of this key pass through the code-page converters.
bool VTaskData::IsConverted(int key) const {
    constexpr int lastUnconvertedVersion = 108;
    if (m_rawMode || m_version <= lastUnconvertedVersion) {
        return false;
    }
    const _TOInfo* row = KeyTable::FirstOf(key);
    return row != nullptr && !row->IsRawData();
}

int VTaskData::DeleteKey(int key) {
    return DeleteKey(key, key);
}

int VTaskData::DeleteKey(int start, int end) {
    assert(start <= end);
    const bool erased = start == end ? m_entries.Erase(start) : m_entries.EraseRange(start, end);
    return erased ? 1 : 0;
}

int VTaskData::GetBool(int key, bool* out) const {
    std::string value;
    if (GetRaw(key, &value) < 1) {
        return 0;
    }
    const bool isTrue = EqualIgnoringCase(value, "YES") || EqualIgnoringCase(value, "TRUE");
    if (!isTrue && !EqualIgnoringCase(value, "NO") && !EqualIgnoringCase(value, "FALSE")) {
        return 0;
    }
    *out = isTrue;
    return 1;
}

int VTaskData::SetBool(int key, bool value, bool overwrite) {
    return SetString(key, value ? "True" : "False", overwrite);
}

int VTaskData::GetNumeric(int key, int* out) const {
    std::string value;
    if (GetRaw(key, &value) < 1 || !task_valueFits("#N", value)) {
        return 0;
    }
    *out = txccl::string::LeadingNumber(value);
    return 1;
}

int VTaskData::SetNumeric(int key, int value, bool overwrite) {
    return SetString(key, std::to_string(value), overwrite);
}

int VTaskData::GetEnum(int key, int* index) const {
    std::string value;
    if (GetRaw(key, &value) < 1) {
        return 0;
    }
    const int found = task_enumIndex(task_enumNames(TypeSpec(key)), value);
    if (found < 0) {
        return 0;
    }
    *index = found;
    return 1;
}

int VTaskData::SetEnum(int key, int index, bool overwrite) {
    const auto names = task_enumNames(TypeSpec(key));
    if (index < 0 || static_cast<std::size_t>(index) >= names.size()) {
        return 0;
    }
    return SetString(key, std::string(names[static_cast<std::size_t>(index)]), overwrite);
}

int VTaskData::GetMask(int key, unsigned* mask) const {
    std::string value;
    if (GetRaw(key, &value) < 1) {
        return 0;
    }
    const auto names = task_enumNames(TypeSpec(key));
    unsigned bits = 0;
    for (const std::string_view piece : txccl::string::Split(value, ',')) {
        const int index = task_enumIndex(names, piece);
        if (index < 0) {
            return 0;
        }
        bits |= 1U << index;
    }
    *mask = bits;
    return 1;
}

int VTaskData::SetMask(int key, unsigned mask, bool overwrite) {
    const auto names = task_enumNames(TypeSpec(key));
    std::vector<std::string_view> chosen;
    for (const std::string_view name : names) {
        if ((mask & 1U) != 0) {
            chosen.push_back(name);
        }
        mask >>= 1;
    }
    return names.empty() || mask != 0 ? 0 : SetString(key, txccl::string::Join(chosen, ","), overwrite);
}

int VTaskData::GetPassword(int key, std::string* out) const {
    out->clear();
    return TypeSpec(key) == "#P" ? GetString(key, out) : 0;
}

int VTaskData::SetPassword(int key, const std::string& value, bool overwrite) {
    return TypeSpec(key) == "#P" ? SetString(key, value, overwrite) : 0;
}

/// The value syntax of the key's row for this version and type, empty when there is none.
std::string_view VTaskData::TypeSpec(int key) const {
    const _TOInfo* row = KeyTable::FirstLegal(key, m_version, m_type);
    return row == nullptr ? "" : row->typeSpec;
}

bool VTaskData::Fits(int key, std::string_view value) const {
    return task_valueFits(TypeSpec(key), value);
}

bool VTaskData::IsValidEntry(int key, const std::string& value) const {
    return Fits(key, value);
}

int VTaskData::GetKeyInfo(int key, _TOInfo& info) {
    const _TOInfo* row = KeyTable::FirstOf(key);
    if (row == nullptr) {
        return 0;
    }
    info = *row;
    return 1;
}

int VTaskData::GetKeyName(int key, std::string& name, int version, int type) {
    const _TOInfo* row = KeyTable::LastNaming(key, version, type);
    if (row == nullptr) {
        return 0;
    }
    name = KeyTable::NameOf(*row, key);
    return 1;
}

int VTaskData::GetKeyID(const std::string& name, int* key, int version, int type) {
    int index = 0;
    const _TOInfo* row = KeyTable::FirstNamed(name, version, type, &index);
    if (row == nullptr) {
        return 0;
    }
    *key = row->id + index;
    return 1;
}

bool VTaskData::KeyMatch(const char* text, const char* pattern, int* index) {
    return KeyTable::Match(text, pattern, index);
}
