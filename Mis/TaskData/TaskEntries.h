#pragma once

#include "Mis/TaskData/TaskEntry.h"

#include <cstddef>
#include <unordered_map>
#include <vector>

/// The entries of a task-data object, at most one for a key.
class TaskEntries {
public:
    TaskEntries();

    /// The entry of `key`, null for none. Valid until the next change.
    const VTDEntry* Find(int key) const;
    VTDEntry* Find(int key);

    /// REQUIRES: no entry has this key.
    void Append(VTDEntry entry);

    /// Returns: false when there was nothing to erase.
    bool Erase(int key);
    bool EraseRange(int first, int last);

    /// All entries, in no order.
    const std::vector<VTDEntry>& All() const { return m_entries; }

    /// All entries in the entries' own ordering. That is no ordering as soon as some of them have no name, since three
    /// can then compare in a circle. So the unnamed ones stand by key, the named ones by name, and both are merged: the
    /// result depends on nothing but the set of entries.
    std::vector<VTDEntry*> Sorted();

private:
    void Reindex();

    std::vector<VTDEntry> m_entries;
    std::unordered_map<int, std::size_t> m_positions; ///< by key
};
