#pragma once

#include <utility>

#include <unistd.h>

/// Owns a file descriptor of the system and closes it. An error of closing is dropped: synchronise first if it matters.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) noexcept : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        Close();
        m_number = other.Release();
        return *this;
    }
    ~Descriptor() { Close(); }

    /// The descriptor, still owned here; below 0 for none.
    int Number() const noexcept { return m_number; }
    bool IsOpen() const noexcept { return m_number >= 0; }
    /// Gives the descriptor up. Returns: its number, which the caller now has to close.
    int Release() noexcept { return std::exchange(m_number, -1); }

private:
    void Close() noexcept {
        if (IsOpen()) {
            close(m_number);
        }
    }

    int m_number = -1;
};
