#include "icu/memory.h"

#include "icu/host.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <pthread.h>
#include <unicode/uclean.h>
#include <unicode/udata.h>

namespace qbgl::icu {

std::atomic<unsigned> refusals = 0;

namespace {

// What stands before each block, in BLOCK_ROOM bytes, so that blocks are aligned as the host's are.
struct Reserve;
struct Block {
    Reserve *reserve; // that it is from; null: from the host
    uint32_t size;
    bool stray; // allocated without a provision
};
constexpr size_t BLOCK_ROOM = 16;
static_assert(sizeof(Block) <= BLOCK_ROOM);

// Blocks are cut from it one behind the other, and it begins anew when all have been given back. The most that ICU 72 allocates
// under one provision, freed or not, are 0.75 MB, for the first name with the settings of a language tag; 0.1 MB for other locales.
struct Reserve {
    uint32_t used, blocks;

    static constexpr uint32_t SIZE = 1 << 20;
};
constexpr uint32_t RESERVE_BEGIN = 16;
static_assert(sizeof(Reserve) <= RESERVE_BEGIN);

bool lent = false;
Host lender; // the host as it was then

pthread_mutex_t one_provision = PTHREAD_MUTEX_INITIALIZER, reserve_access = PTHREAD_MUTEX_INITIALIZER;
Reserve *reserve = nullptr; // for the next provision; older ones live as long as their blocks
std::atomic<pthread_t> provided = 0;
// Blocks that are none of what a provision sets up: texts of calls in progress, and whatever another user of ICU has.
std::atomic<long> strays = 0;

bool is_provided() { return provided.load(std::memory_order_relaxed) == pthread_self(); }

Block *block_of(void *memory) { return reinterpret_cast<Block *>(static_cast<char *>(memory) - BLOCK_ROOM); }

Block *cut_from_reserve(size_t size) {
    size = (size + BLOCK_ROOM + BLOCK_ROOM - 1) / BLOCK_ROOM * BLOCK_ROOM;
    pthread_mutex_lock(&reserve_access);
    Block *block = nullptr;
    if (size <= Reserve::SIZE - reserve->used) {
        block = reinterpret_cast<Block *>(reinterpret_cast<char *>(reserve) + reserve->used);
        reserve->used += static_cast<uint32_t>(size);
        ++reserve->blocks;
        block->reserve = reserve;
    }
    pthread_mutex_unlock(&reserve_access);
    return block;
}

void put_into_reserve(Reserve *owner) {
    pthread_mutex_lock(&reserve_access);
    owner->used = --owner->blocks == 0 ? RESERVE_BEGIN : owner->used;
    const bool done = owner->blocks == 0 && owner != reserve;
    pthread_mutex_unlock(&reserve_access);
    if (done) lender.free(owner);
}

// The older one goes with the last of its blocks.
void replace_reserve(Reserve *newer) {
    pthread_mutex_lock(&reserve_access);
    Reserve *const older = std::exchange(reserve, newer);
    const bool done = older != nullptr && older->blocks == 0;
    pthread_mutex_unlock(&reserve_access);
    if (done) lender.free(older);
}

bool fill_reserve() {
    pthread_mutex_lock(&reserve_access);
    const bool full = reserve != nullptr && reserve->blocks == 0;
    pthread_mutex_unlock(&reserve_access);
    if (full) return true;
    auto *const newer = static_cast<Reserve *>(lender.malloc(Reserve::SIZE));
    if (newer == nullptr) return false;
    *newer = {RESERVE_BEGIN, 0};
    replace_reserve(newer);
    return true;
}

void *refuse() {
    refusals.fetch_add(1, std::memory_order_relaxed);
    return nullptr;
}

void *give(const void *, size_t size) {
    if (size > UINT32_MAX - 2 * BLOCK_ROOM) return refuse();
    const bool stray = !is_provided();
    auto *block = static_cast<Block *>(lender.malloc(static_cast<uint32_t>(size + BLOCK_ROOM)));
    if (block != nullptr)
        block->reserve = nullptr;
    else if (stray || (block = cut_from_reserve(size)) == nullptr)
        return refuse();
    block->size = static_cast<uint32_t>(size);
    block->stray = stray;
    if (stray) strays.fetch_add(1, std::memory_order_relaxed);
    return reinterpret_cast<char *>(block) + BLOCK_ROOM;
}

void take_back(const void *, void *memory) {
    if (memory == nullptr) return;
    Block *const block = block_of(memory);
    if (block->stray) strays.fetch_sub(1, std::memory_order_relaxed);
    if (block->reserve != nullptr)
        put_into_reserve(block->reserve);
    else
        lender.free(block);
}

void *give_again(const void *context, void *memory, size_t size) {
    void *const newer = give(context, size);
    if (newer == nullptr || memory == nullptr) return newer;
    memcpy(newer, memory, std::min<size_t>(size, block_of(memory)->size));
    take_back(context, memory);
    return newer;
}

bool is_icu(const char *name) { return strncmp(name, "libicu", strlen("libicu")) == 0; }

// What the linker knows of an object of the process.
class Object {
  public:
    explicit Object(const dl_phdr_info &info) : info_(info) {}

    bool contains(const void *address) const {
        const auto place = reinterpret_cast<uintptr_t>(address);
        return std::any_of(info_.dlpi_phdr, info_.dlpi_phdr + info_.dlpi_phnum, [&](const auto &part) {
            return part.p_type == PT_LOAD && place - (info_.dlpi_addr + part.p_vaddr) < part.p_memsz;
        });
    }
    bool is_icu() const {
        const char *const slash = strrchr(info_.dlpi_name, '/');
        return icu::is_icu(slash != nullptr ? slash + 1 : info_.dlpi_name);
    }
    bool needs_icu() const {
        for (int i = 0; i < info_.dlpi_phnum; ++i) {
            if (info_.dlpi_phdr[i].p_type != PT_DYNAMIC) continue;
            const auto *const entries = reinterpret_cast<const ElfW(Dyn) *>(info_.dlpi_addr + info_.dlpi_phdr[i].p_vaddr);
            uintptr_t names = 0;
            for (const auto *entry = entries; entry->d_tag != DT_NULL; ++entry)
                if (entry->d_tag == DT_STRTAB) names = entry->d_un.d_ptr;
            if (names < info_.dlpi_addr) names += info_.dlpi_addr; // the kernel's object is not relocated
            for (const auto *entry = entries; entry->d_tag != DT_NULL; ++entry)
                if (entry->d_tag == DT_NEEDED && icu::is_icu(reinterpret_cast<const char *>(names + entry->d_un.d_val)))
                    return true;
        }
        return false;
    }

  private:
    const dl_phdr_info &info_;
};

// Whether the process had ICU before this library, or something else in it is linked with ICU. The objects of a process stand in
// the order in which they came: this library before what came because of it.
bool others_have_icu() {
    struct Search {
        bool own_seen, found;
    } search = {false, false};
    const auto visit = [](dl_phdr_info *info, size_t, void *data) {
        Search &all = *static_cast<Search *>(data);
        const Object object(*info);
        if (object.contains(&lent))
            all.own_seen = true;
        else if (object.is_icu() ? !all.own_seen : object.needs_icu())
            all.found = true;
        return all.found ? 1 : 0;
    };
    dl_iterate_phdr(visit, &search);
    return search.found;
}

void keep_in_process(const void *address) {
    Dl_info object;
    if (dladdr(address, &object) != 0) dlopen(object.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

} // namespace

void lend_memory_to_icu() {
    if (lent) return;
    if (others_have_icu()) {
        say("qbgl_icu: the process has ICU already: its memory stays as it is");
        return;
    }
    lender = host;
    UErrorCode status = U_ZERO_ERROR;
    u_setMemoryFunctions(nullptr, give, give_again, take_back, &status);
    lent = U_SUCCESS(status);
    udata_setFileAccess(UDATA_NO_FILES, &status);
    if (!lent) say("qbgl_icu: ICU keeps its memory: %s", u_errorName(status));
}

bool take_memory_from_icu() {
    if (!lent) return false;
    const bool done = strays.load() == 0 && !others_have_icu();
    if (done) {
        u_cleanup();
        lent = false;
    } else {
        say("qbgl_icu: another user of ICU is in the process: ICU and its memory stay");
        for (const void *const needed : {static_cast<const void *>(&lent), reinterpret_cast<const void *>(lender.malloc),
                                         reinterpret_cast<const void *>(lender.free)})
            keep_in_process(needed);
    }
    replace_reserve(nullptr);
    return done;
}

Provision::Provision() : state_(WITHIN) {
    if (!lent || is_provided()) return;
    pthread_mutex_lock(&one_provision);
    if (fill_reserve()) {
        state_ = HELD;
        provided.store(pthread_self(), std::memory_order_relaxed);
    } else {
        state_ = NONE;
        pthread_mutex_unlock(&one_provision);
    }
}

Provision::~Provision() {
    if (state_ != HELD) return;
    provided.store(0, std::memory_order_relaxed);
    pthread_mutex_unlock(&one_provision);
}

} // namespace qbgl::icu
