#include "qbnxdl/registry.h"

#include "qbnxdl/text.h"

namespace qbgl {
namespace {

constexpr uint32_t FIRST_CAPACITY = 256;

// Text that is appended to, in a block of which it takes over the ownership.
class PathBuffer {
  public:
    PathBuffer(char *block, uint32_t capacity) : block_(block), capacity_(block != nullptr ? capacity : 0) {}

    bool append(std::string_view text) {
        while (text.size() > capacity_ - length_) {
            if (!grow()) return false;
        }
        memcpy(block_.get() + length_, text.data(), text.size());
        length_ += static_cast<uint32_t>(text.size());
        return true;
    }
    bool append(char c) { return append(std::string_view(&c, 1)); }
    uint32_t capacity() const { return capacity_; }
    char *release() { return block_.release(); }

  private:
    bool grow() {
        if (capacity_ > UINT32_MAX / 2) return false;
        const uint32_t larger = capacity_ < FIRST_CAPACITY ? FIRST_CAPACITY : capacity_ * 2;
        Owned<char> block = Owned<char>::allocate(larger);
        if (!block) return false;
        if (length_ > 0) memcpy(block.get(), block_.get(), length_);
        block_.reset(block.release());
        capacity_ = larger;
        return true;
    }

    Owned<char> block_;
    uint32_t capacity_, length_ = 0;
};

// The rest of a line, without its newline. The end of the file ends a line too.
bool append_line(PathBuffer &buffer, int byte, FILE *stream) {
    for (; byte != '\n' && byte != EOF; byte = getc(stream)) {
        if (!buffer.append(static_cast<char>(byte))) return false;
    }
    return true;
}

} // namespace

Owned<char> registry_path(const char *install_dir) { return join({install_dir, "/vrn/etc/dllregistry"}); }

int get_dl_name(FILE *stream, const char *install_dir, char **path, uint32_t *capacity) {
    PathBuffer buffer(std::exchange(*path, nullptr), std::exchange(*capacity, 0));
    const int first = getc(stream);
    if (first == EOF) return 0;
    const bool complete =
        buffer.append(install_dir) && buffer.append("/vrn/dll/") && append_line(buffer, first, stream) && buffer.append('\0');
    if (!complete) return -1;
    *capacity = buffer.capacity();
    *path = buffer.release();
    return 0;
}

} // namespace qbgl
