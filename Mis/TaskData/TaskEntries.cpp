#include "Mis/TaskData/TaskEntries.h"

#include <algorithm>
#include <cassert>
#include <span>
#include <utility>

namespace {

using Pointers = std::vector<VTDEntry*>;

bool IsUnnamed(const VTDEntry* entry) {
    return entry->GetName().empty();
}

bool IsLowerByKey(const VTDEntry* a, const VTDEntry* b) {
    return a->GetKey() < b->GetKey();
}

bool IsLowerByName(const VTDEntry* a, const VTDEntry* b) {
    const int order = a->GetName().compare(b->GetName());
    return order != 0 ? order < 0 : IsLowerByKey(a, b);
}

/// std::merge would need one ordering for all entries, and there is none; see Sorted.
Pointers Merged(std::span<VTDEntry* const> unnamed, std::span<VTDEntry* const> named) {
    Pointers merged;
    merged.reserve(unnamed.size() + named.size());
    while (!unnamed.empty() || !named.empty()) {
        const bool takeNamed = unnamed.empty() || (!named.empty() && *named.front() < *unnamed.front());
        auto& source = takeNamed ? named : unnamed;
        merged.push_back(source.front());
        source = source.subspan(1);
    }
    return merged;
}

} // namespace

TaskEntries::TaskEntries() {
    constexpr std::size_t usualCount = 50;
    m_entries.reserve(usualCount);
}

const VTDEntry* TaskEntries::Find(int key) const {
    const auto found = m_positions.find(key);
    return found == m_positions.end() ? nullptr : &m_entries[found->second];
}

VTDEntry* TaskEntries::Find(int key) {
    const auto found = m_positions.find(key);
    return found == m_positions.end() ? nullptr : &m_entries[found->second];
}

void TaskEntries::Append(VTDEntry entry) {
    const auto [position, added] = m_positions.emplace(entry.GetKey(), m_entries.size());
    assert(added);
    try {
        m_entries.push_back(std::move(entry));
    } catch (...) {
        m_positions.erase(position);
        throw;
    }
}

/// Moves the last entry into the gap, so that the cost does not depend on how many entries there are.
bool TaskEntries::Erase(int key) {
    const auto found = m_positions.find(key);
    if (found == m_positions.end()) {
        return false;
    }
    VTDEntry& erased = m_entries[found->second];
    if (VTDEntry& last = m_entries.back(); &last != &erased) {
        m_positions[last.GetKey()] = found->second;
        erased = std::move(last);
    }
    m_entries.pop_back();
    m_positions.erase(found);
    return true;
}

bool TaskEntries::EraseRange(int first, int last) {
    const auto isWithin = [first, last](int key) { return first <= key && key <= last; };
    std::erase_if(m_positions, [&](const auto& position) { return isWithin(position.first); });
    const auto erased = std::erase_if(m_entries, [&](const VTDEntry& entry) { return isWithin(entry.GetKey()); });
    Reindex();
    return erased > 0;
}

std::vector<VTDEntry*> TaskEntries::Sorted() {
    Pointers entries;
    entries.reserve(m_entries.size());
    for (VTDEntry& entry : m_entries) {
        entries.push_back(&entry);
    }
    // A file that this program wrote is in order already; a merge sort is fast on that.
    const auto named = std::partition(entries.begin(), entries.end(), IsUnnamed);
    std::sort(entries.begin(), named, IsLowerByKey);
    std::stable_sort(named, entries.end(), IsLowerByName);
    return Merged({entries.begin(), named}, {named, entries.end()});
}

void TaskEntries::Reindex() {
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        m_positions[m_entries[i].GetKey()] = i;
    }
}
