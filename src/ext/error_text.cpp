// What the error numbers mean.
#include "qbgl.h"

const char *gl_strerror(int number) {
    switch (number) {
    case 0: return "no error";
    case GL_EILSEQ: return "invalid or unmappable byte sequence, or a value that cannot be encoded";
    case GL_ENULLPTR: return "null text";
    case GL_ENOMEM: return "out of memory";
    case GL_ENEGCOUNT: return "negative count";
    case GL_EENDBEFORE: return "end before start";
    case GL_ERANGE: return "empty number, or value out of range";
    case GL_EINVAL: return "invalid specification, codeset or argument";
    case GL_ENOFILE: return "file not found or unreadable";
    case GL_EBADARG: return "bad argument";
    case GL_EBADFILE: return "malformed data file";
    case GL_EMIXEDCS: return "categories in different codesets";
    case GL_EIO: return "input or output error";
    case GL_E2BIG: return "output buffer too small";
    case GL_ENODATA: return "required data file not found";
    case GL_EEOF: return "end of input";
    case GL_EREAD: return "read failed";
    case GL_ENOCAT: return "source lacks the category";
    case GL_EHASCAT: return "target has the category already";
    case GL_ETABLELEN: return "table with sequences that are too long";
    case GL_ENOCONV: return "no number in the text";
    case GL_EBADERA: return "malformed era";
    case GL_EBADCAL: return "unknown calendar";
    case GL_EVERSION: return "data file of another compiler version";
    case GL_ENOSYM: return "character without a symbolic name";
    case GL_ELOADCAT: return "category failed to load";
    case GL_EMIXEDLEN: return "one length given and the other not";
    case GL_ENOCODESET: return "locale without a codeset";
    case GL_ECTYPECS: return "category in another codeset than LC_CTYPE";
    default: return "unknown error";
    }
}
