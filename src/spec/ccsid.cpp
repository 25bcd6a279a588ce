// Codeset numbers as CCSID numbers.
#include "qbgl.h"

uint16_t gl_cs_nums2ccsid(void *, uint16_t cs_num) {
    if (cs_num < GL_NO_CODESET) return cs_num;
    switch (cs_num) {
    case 57349: return 1202;  // unicode
    case 57350: return 943;   // sjis
    case 57351: return 33722; // ujis
    case 57352: return 950;   // big5
    case 57356: return 949;   // ksc
    case 57357: return 1383;  // gb
    case 57372: return 1208;  // utf8
    case 57373: return 874;   // thai
    case 57375: return 964;   // euctw
    case 57382: return 878;   // koi-8
    case 57385: return 1051;  // roman8
    case 57388: return 848;
    case 57391: return 923;
    case 57392: return 1234;
    default: return 0;
    }
}

int gl_ccsid2cs_nums(void) { return 0; }
