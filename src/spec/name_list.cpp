#include "spec/name_list.h"

#include "ext/error.h"
#include "util/search.h"

#include <algorithm>
#include <dirent.h>
#include <limits.h>
#include <memory>
#include <stdlib.h>
#include <string.h>

namespace qbgl {

constinit Stock installed_locales = {}, installed_codesets = {};

bool NameList::add(const char *name) {
    if (size_ == capacity_) {
        const int capacity = capacity_ > 0 ? capacity_ * 2 : 64;
        void *larger = realloc(names_, static_cast<size_t>(capacity) * SIZE);
        if (larger == nullptr) return false;
        names_ = static_cast<Name *>(larger);
        capacity_ = capacity;
    }
    char *const slot = names_[size_++];
    strncpy(slot, name, SIZE - 1);
    slot[SIZE - 1] = '\0';
    return true;
}

void NameList::sort() {
    if (size_ == 0) return;
    qsort(names_, static_cast<size_t>(size_), SIZE,
          [](const void *a, const void *b) { return strcmp(static_cast<const char *>(a), static_cast<const char *>(b)); });
    int kept = 1;
    for (int i = 1; i < size_; ++i)
        if (strcmp(names_[i], names_[kept - 1]) != 0) memmove(names_[kept++], names_[i], SIZE);
    size_ = kept;
}

void NameList::free() {
    ::free(names_);
    names_ = nullptr;
    size_ = capacity_ = 0;
}

int take_stock(void *ctx, Stock &stock, bool (*gather)(NameList &)) {
    stock.names.free();
    stock.taken = gather(stock.names);
    if (!stock.taken) {
        stock.names.free();
        set_error(ctx, GL_ENOMEM);
        return -1;
    }
    stock.names.sort();
    return stock.names.size();
}

int copy_name(void *ctx, Stock &stock, bool (*gather)(NameList &), int index, char *out, int room) {
    if (!stock.taken && take_stock(ctx, stock, gather) < 0) return -1;
    if (index < 0 || index >= stock.names.size()) {
        set_error(ctx, GL_EBADARG);
        return -1;
    }
    const char *const name = stock.names[index];
    const auto length = static_cast<int>(strlen(name));
    if (room > 0) {
        const int written = std::min(length, room - 1);
        memcpy(out, name, static_cast<size_t>(written));
        out[written] = '\0';
        if (written == length) return length;
    }
    set_error(ctx, GL_E2BIG);
    return -1;
}

bool visit_directories(const char *subdirectory, const char *version, bool (*visit)(const char *, void *), void *data) {
    char path[PATH_MAX];
    if (const char *item = gl_get_gl_path()) {
        while (*item != '\0') {
            const size_t length = strcspn(item, ":");
            if (length > 0 && length < sizeof path) {
                memcpy(path, item, length);
                path[length] = '\0';
                if (!visit(path, data)) return false;
            }
            item += item[length] == ':' ? length + 1 : length;
        }
        return true;
    }
    if (chk_quorbanedir(nullptr) != 0) return true; // a search would find nothing
    for (const char *suffix : {version, ""}) {
        const int length = snprintf(path, sizeof path, "%s/vrn/%s%s", installation_directory(), subdirectory, suffix);
        if (length > 0 && static_cast<size_t>(length) < sizeof path && !visit(path, data)) return false;
    }
    return true;
}

bool visit_entries(const char *directory, bool (*visit)(const char *, const char *, void *), void *data) {
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(opendir(directory), closedir);
    if (entries == nullptr) return true;
    while (const dirent *entry = readdir(entries.get()))
        if (!visit(directory, entry->d_name, data)) return false;
    return true;
}

} // namespace qbgl
