/* A host in plain C, with what the README shows in it: converts a Japanese word from Shift-JIS to UTF-8 and writes it, and does
 * with a locale what a host begins with. */
#include <qbgl.h>
#include <qbgl_extension.h>

#include <stdio.h>
#include <string.h>

static const char sjis[] = "\x93\xfa\x96\x7b";

static int convert(char *out, int outleft) {
    const char *in = sjis;
    int inleft = (int)strlen(sjis);
    gl_cv *cd;
    int subst;
    if (gl_cv_load(&cd, "utf8", "sjis", NULL, NULL) != 1 || gl_miconv(cd, &in, &inleft, &out, &outleft, &subst) != 0) {
        fprintf(stderr, "cannot convert: %s\n", gl_strerror(gl_errno(cd)));
        return 1;
    }
    *out = '\0';
    gl_cv_unload(cd);
    return inleft;
}

static int use_locale(const char *text) {
    enum { room = 8 };
    gl_wchar wide[room];
    int result = 1;
    gl_locale *loc;
    if (gl_lc_load(&loc, "ja_JP.sjis", NULL, NULL) == 0) {
        int count = gl_mbstowcs(loc, wide, text, room);
        if (count > 0 && gl_iswalpha(loc, wide[0])) wide[0] = gl_towupper(loc, wide[0]);
        result = count != 2 || wide[0] != 0x93fa || strlen(gl_order_fingerprint(loc)) != 16 || gl_mbscoll(loc, text, sjis) != 0;
    } else {
        fprintf(stderr, "cannot load the locale: %s\n", gl_strerror(gl_errno(loc)));
    }
    gl_lc_unload(loc);
    return result;
}

/* With an argument, that is where the data are. */
int main(int argc, char **argv) {
    char utf8[16];
    if (gl_version() != QBGL_VERSION || (argc > 1 && gl_set_directory(argv[1]) != 0)) return 1;
    if (convert(utf8, (int)sizeof utf8 - 1) != 0 || use_locale(sjis) != 0) return 1;
    puts(utf8);
    return 0;
}
