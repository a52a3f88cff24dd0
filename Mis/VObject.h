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

    /// Orders two objects. This one orders by identity, since it knows no content. Returns: -1, 0 or 1.
    virtual int Compare(const VObject* other) const;
};
