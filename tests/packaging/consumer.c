/* A host in plain C: converts a Japanese word from Shift-JIS to UTF-8 and writes it. */
#include <qbgl.h>

#include <stdio.h>
#include <string.h>

int main(void) {
    const char sjis[] = "\x93\xfa\x96\x7b";
    const char *in = sjis;
    char utf8[16];
    char *out = utf8;
    int inleft = (int)strlen(sjis), outleft = (int)sizeof utf8, subst = 0;
    gl_cv *cd;
    if (gl_cv_load(&cd, "utf8", "sjis", NULL, NULL) != 1) {
        fprintf(stderr, "cannot load the conversion: error %d\n", (int)cd->error);
        return 1;
    }
    if (gl_miconv(cd, &in, &inleft, &out, &outleft, &subst) != 0 || inleft != 0) return 1;
    gl_cv_unload(cd);
    printf("%.*s\n", (int)(out - utf8), utf8);
    return 0;
}
