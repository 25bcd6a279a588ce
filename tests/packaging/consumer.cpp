// The same from C++, with the descriptor owned by a type.
#include <qbgl.h>
#include <qbgl_extension.h>

#include <iostream>
#include <memory>
#include <string>

int main() {
    gl_cv *opened = nullptr;
    if (gl_cv_load(&opened, "utf8", "ja_jp.sjis", nullptr, nullptr) != 1) return 1;
    const std::unique_ptr<gl_cv, int (*)(gl_cv *)> cd(opened, gl_cv_unload);
    const std::string sjis = "\x93\xfa\x96\x7b";
    int inleft = static_cast<int>(sjis.size()), outleft = gl_cv_outbuflen(cd.get(), inleft), subst = 0;
    std::string utf8(static_cast<size_t>(outleft), '\0');
    const char *in = sjis.data();
    char *out = &utf8[0];
    if (gl_miconv(cd.get(), &in, &inleft, &out, &outleft, &subst) != 0) return 1;
    utf8.resize(static_cast<size_t>(out - utf8.data()));
    std::cout << utf8 << '\n';
}
