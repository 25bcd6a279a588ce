// What the processor has beyond what builds ask for.
#pragma once

namespace qbgl {

// Shuffles of bytes.
bool has_ssse3();

} // namespace qbgl
