#pragma once

#include "Mis/TaskEntry.h"

#include <cstdint>
#include <vector>

/// The entries of a task-data object in storage order, at most one for a key, found by key without a search.
/// REQUIRES of keys: those of the key table, which are above 0 and few enough for an array over all of them.
class TaskEntries {
public:
    TaskEntries();

    /// The entry of `key`, null for none. Valid until the next change.
    const VTDEntry* Find(int key) const;
    VTDEntry* Find(int key);

    /// REQUIRES: no entry has this key.
    void Append(VTDEntry entry);

    /// Return: false when there was nothing to erase. The order of the others stays.
    bool Erase(int key);
    bool EraseRange(int first, int last);

    /// Sorts by the entries' own ordering, which is no order where entries lack names: any permutation may then come
    /// out, but every comparison of neighbours has been answered.
    void Sort();

    /// All entries in storage order.
    std::vector<VTDEntry>& All();

private:
    using Position = std::uint32_t;

    static constexpr Position none = UINT32_MAX;

    /// The positions of so many neighbouring keys. A usual file touches few blocks.
    using Block = std::vector<Position>;

    static constexpr std::size_t blockSize = 128;

    Position PositionOf(int key) const;
    Position& Slot(int key);
    void Forget(int key, Position position);
    void Compact();
    void Reindex();

    std::vector<VTDEntry> m_entries;
    std::vector<Block> m_positions; ///< by key; a block that no entry needed is empty
    std::vector<Position> m_erased; ///< entries that are gone but still stand in m_entries
};
