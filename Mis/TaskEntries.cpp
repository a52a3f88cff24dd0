#include "Mis/TaskEntries.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t usualCount = 50;

using Pointers = std::vector<VTDEntry*>;

/// Merges two sorted runs. Unlike the standard library's algorithms, safe whatever the comparisons answer.
void Merge(const Pointers& from, std::size_t begin, std::size_t middle, std::size_t end, Pointers& to) {
    std::size_t left = begin;
    std::size_t right = middle;
    for (std::size_t i = begin; i < end; ++i) {
        const bool takeRight = left == middle || (right < end && *from[right] < *from[left]);
        to[i] = takeRight ? from[right++] : from[left++];
    }
}

Pointers Sorted(std::vector<VTDEntry>& entries) {
    Pointers sorted;
    sorted.reserve(entries.size());
    for (VTDEntry& entry : entries) {
        sorted.push_back(&entry);
    }
    Pointers merged(sorted.size());
    for (std::size_t run = 1; run < sorted.size(); run *= 2) {
        for (std::size_t begin = 0; begin < sorted.size(); begin += 2 * run) {
            const std::size_t middle = std::min(begin + run, sorted.size());
            Merge(sorted, begin, middle, std::min(middle + run, sorted.size()), merged);
        }
        sorted.swap(merged);
    }
    return sorted;
}

} // namespace

TaskEntries::TaskEntries() {
    m_entries.reserve(usualCount);
}

TaskEntries::Position TaskEntries::PositionOf(int key) const {
    const auto index = static_cast<std::size_t>(key);
    const bool known = key > 0 && index / blockSize < m_positions.size() && !m_positions[index / blockSize].empty();
    return known ? m_positions[index / blockSize][index % blockSize] : none;
}

TaskEntries::Position& TaskEntries::Slot(int key) {
    const auto index = static_cast<std::size_t>(key);
    if (index / blockSize >= m_positions.size()) {
        m_positions.resize(index / blockSize + 1);
    }
    Block& block = m_positions[index / blockSize];
    block.resize(blockSize, none);
    return block[index % blockSize];
}

const VTDEntry* TaskEntries::Find(int key) const {
    const Position position = PositionOf(key);
    return position == none ? nullptr : &m_entries[position];
}

VTDEntry* TaskEntries::Find(int key) {
    const Position position = PositionOf(key);
    return position == none ? nullptr : &m_entries[position];
}

void TaskEntries::Append(VTDEntry entry) {
    Position& position = Slot(entry.GetKey());
    m_entries.push_back(std::move(entry));
    position = static_cast<Position>(m_entries.size() - 1);
}

bool TaskEntries::Erase(int key) {
    const Position position = PositionOf(key);
    if (position == none) {
        return false;
    }
    Forget(key, position);
    // Closing each gap at once would make a series of deletions quadratic.
    if (m_erased.size() > usualCount && m_erased.size() > m_entries.size() / 2) {
        Compact();
    }
    return true;
}

bool TaskEntries::EraseRange(int first, int last) {
    const std::size_t before = m_erased.size();
    const int largest = static_cast<int>(m_positions.size() * blockSize) - 1;
    for (int key = std::max(first, 0); key <= std::min(last, largest); ++key) {
        if (const Position position = PositionOf(key); position != none) {
            Forget(key, position);
        }
    }
    const bool erased = m_erased.size() > before;
    Compact();
    return erased;
}

void TaskEntries::Forget(int key, Position position) {
    m_erased.push_back(position);
    Slot(key) = none;
}

void TaskEntries::Compact() {
    if (m_erased.empty()) {
        return;
    }
    std::vector<bool> gone(m_entries.size());
    for (const Position position : m_erased) {
        gone[position] = true;
    }
    std::vector<VTDEntry> kept;
    kept.reserve(m_entries.size() - m_erased.size());
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (!gone[i]) {
            kept.push_back(std::move(m_entries[i]));
        }
    }
    m_entries = std::move(kept);
    m_erased.clear();
    Reindex();
}

void TaskEntries::Reindex() {
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        Slot(m_entries[i].GetKey()) = static_cast<Position>(i);
    }
}

void TaskEntries::Sort() {
    Compact();
    std::vector<VTDEntry> sorted;
    sorted.reserve(m_entries.size());
    for (VTDEntry* entry : Sorted(m_entries)) {
        sorted.push_back(std::move(*entry));
    }
    m_entries = std::move(sorted);
    Reindex();
}

std::vector<VTDEntry>& TaskEntries::All() {
    Compact();
    return m_entries;
}
