#include "Mis/TaskData/TaskEntry.h"

#include "Mis/TaskData/KeyTable.h"
#include "classlib/String.h"

#include <cassert>
#include <functional>
#include <utility>

VTDEntry::VTDEntry(int key, const std::string& value, int version, int type)
    : m_typeMask(static_cast<unsigned>(type)), m_version(version), m_key(key), m_value(txccl::string::Crop(value)) {
    constexpr int firstIndexedKey = 10000;
    const _TOInfo* row = KeyTable::FirstOf(key);
    if (row == nullptr) {
        return;
    }
    m_typeMask = row->typeMask;
    if (key < firstIndexedKey) {
        m_name = row->keyName;
    } else if (const _TOInfo* naming = KeyTable::LastNaming(key, version, static_cast<int>(row->typeMask))) {
        m_name = KeyTable::NameOf(*naming, key);
    }
}

VTDEntry::~VTDEntry() = default;

VTDEntry& VTDEntry::operator=(const VTDEntry& other) = default;

void VTDEntry::SetValue(std::string_view value, std::string* buffer) {
    constexpr std::size_t longValue = 1U << 20;
    if (buffer == nullptr || value.size() < longValue || value.size() < buffer->capacity() / 2) {
        m_value = value;
        return;
    }
    assert(std::less_equal<>()(buffer->data(), value.data()) &&
           std::less_equal<>()(value.data() + value.size(), buffer->data() + buffer->size()));
    const auto begin = static_cast<std::size_t>(value.data() - buffer->data());
    buffer->resize(begin + value.size());
    buffer->erase(0, begin);
    m_value = std::move(*buffer);
}

int VTDEntry::Compare(const VObject* other) const {
    const auto* entry = dynamic_cast<const VTDEntry*>(other);
    if (entry == nullptr) {
        return VObject::Compare(other);
    }
    if (*this < *entry) {
        return -1;
    }
    return *this > *entry ? 1 : 0;
}

bool VTDEntry::operator==(const VTDEntry& other) const {
    return m_name.empty() || other.m_name.empty() ? m_key == other.m_key : m_name == other.m_name;
}

bool VTDEntry::operator>(const VTDEntry& other) const {
    return m_name.empty() || other.m_name.empty() ? m_key > other.m_key : m_name > other.m_name;
}

bool VTDEntry::operator<(const VTDEntry& other) const {
    return m_name.empty() || other.m_name.empty() ? m_key < other.m_key : m_name < other.m_name;
}
