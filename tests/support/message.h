// What the compiler says of data that it refuses.
#pragma once

#include "system/error.h"

#include <string>

namespace qbgl_test {

template <class Function> std::string message_of(Function function) {
    try {
        function();
    } catch (const qbgl::compiler::DataError &error) {
        return error.what();
    }
    return "no error";
}

} // namespace qbgl_test
