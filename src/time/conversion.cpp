#include "time/conversion.h"

#include <string.h>

bool qbgl::takes_modifier(char letter, char modifier) {
    return strchr(modifier == 'E' ? "cCxXyY" : "bBhCdegGHIjklmMSuUVwWy", letter) != nullptr;
}
