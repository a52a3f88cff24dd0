#pragma once

#include "Mis/VObject.h"

#include <string>
#include <string_view>

/// One key of a task-data file with its value.
///
/// Two entries compare by name, byte by byte, or by key when either has no name.
class VTDEntry : public VObject {
public:
    /// Takes the name from the key table; it stays empty when no row names the key. The value is cropped.
    VTDEntry(int key, const std::string& value, int version, int type);
    VTDEntry(const VTDEntry&) = default;
    VTDEntry(VTDEntry&&) = default;
    ~VTDEntry() override;

    /// Returns: -1, 0 or 1 as the operators below say; by identity for an object of another class.
    int Compare(const VObject* other) const override;
    virtual VTDEntry& operator=(const VTDEntry& other);
    VTDEntry& operator=(VTDEntry&&) = default;
    virtual bool operator==(const VTDEntry& other) const;
    virtual bool operator>(const VTDEntry& other) const;
    virtual bool operator<(const VTDEntry& other) const;

    unsigned GetTypeMask() const noexcept { return m_typeMask; }
    /// The version that the constructor was given.
    int GetVersion() const noexcept { return m_version; }
    int GetKey() const noexcept { return m_key; }
    const std::string& GetName() const noexcept { return m_name; }
    const std::string& GetValue() const noexcept { return m_value; }
    /// Sets the value as it is. A long value that fills at least half of `buffer`, the text in which it lies, takes
    /// that over instead of being copied. REQUIRES: `buffer` is null or holds the value.
    void SetValue(std::string_view value, std::string* buffer = nullptr);

private:
    unsigned m_typeMask;
    int m_version;
    std::string m_name;
    int m_key;
    std::string m_value;
};
