#include "object/digest.h"

namespace qbgl::compiler {

std::string_view compiler_digest(ObjectKind kind) {
    switch (kind) {
    case ObjectKind::CONVERSION: return QBGLC_CONVERSION_DIGEST;
    case ObjectKind::LOCALE: return QBGLC_LOCALE_DIGEST;
    case ObjectKind::CHARMAP: break;
    }
    return QBGLC_CHARMAP_DIGEST;
}

} // namespace qbgl::compiler
