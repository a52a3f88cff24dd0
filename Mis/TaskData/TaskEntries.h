#pragma once

#include "Mis/TaskData/TaskEntry.h"

#include <cstddef>
#include <unordered_map>
#include <vector>

/// The entries of a task-data object, at most one for a key.
class TaskEntries {
public:
    TaskEntries();

    /// The entry of `key`, null for none. Valid until an entry is added or erased.
    const VTDEntry* Find(int key) const;
    VTDEntry* Find(int key);

    /// Adds an entry. REQUIRES: no entry has this key.
    void Append(VTDEntry entry);

    /// Erase one key, or all from `first` to `last`. Returns: false when there was nothing to erase.
    bool Erase(int key);
    bool EraseRange(int first, int last);

    /// All entries, in no order.
    const std::vector<VTDEntry>& All() const { return m_entries; }

    /// All entries in the order in which they are written: the named ones sorted by name, the unnamed ones by key, then
    /// both merged. Sorting all at once would not do: a named and an unnamed entry compare by key, so three entries can
    /// compare in a circle. This way the result depends only on the set of entries.
    std::vector<VTDEntry*> Sorted();

private:
    void Reindex();

    std::vector<VTDEntry> m_entries;
    std::unordered_map<int, std::size_t> m_positions; ///< where the entry of a key stands in m_entries
};
