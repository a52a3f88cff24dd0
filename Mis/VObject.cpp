#include "Mis/VObject.h"

#include <functional>

VObject::~VObject() = default;

int VObject::Compare(const VObject* other) const {
    if (this == other) {
        return 0;
    }
    return std::less<const VObject*>()(this, other) ? -1 : 1;
}
