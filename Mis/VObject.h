#pragma once

/// Root of the library's class tree.
class VObject {
public:
    VObject() = default;
    VObject(const VObject&) = default;
    VObject(VObject&&) = default;
    VObject& operator=(const VObject&) = default;
    VObject& operator=(VObject&&) = default;
    virtual ~VObject();

    /// Orders two objects. Returns -1, 0 or 1. The root knows no content, so it orders by identity.
    virtual int Compare(const VObject* other) const;
};
