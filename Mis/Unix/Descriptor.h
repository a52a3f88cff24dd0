#pragma once

#include <utility>

#include <unistd.h>

/// Owns a file descriptor of the system and closes it. What closing says is dropped: who must know synchronises first.
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

    /// Below 0 when there is none.
    int Number() const noexcept { return m_number; }
    bool IsOpen() const noexcept { return m_number >= 0; }
    /// Returns: the number, which the caller closes from now on.
    int Release() noexcept { return std::exchange(m_number, -1); }

private:
    void Close() noexcept {
        if (IsOpen()) {
            close(m_number);
        }
    }

    int m_number = -1;
};
