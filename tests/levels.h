// The library at each vector level, and buffers between guard pages. Neither GoogleTest nor strings: programs that run under
// every tool need no more. The program defines qz_assert_msg.
#pragma once

#include "qzstr.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string_view>
#include <sys/mman.h>
#include <vector>

/// Thrown where the library raises an error.
struct raised_error {
    const char *source, *function;
    int line, code;
};

/// For a program whose qz_err_and_jmp comes back.
inline bool errors_return = false;

extern "C" {
void qz_thr_assert_cmd(void) {}
void qz_err_and_jmp(const char* file, int line, const char* func, int, int, int code) {
    if (!errors_return) throw raised_error{file, func, line, code};
}
}

namespace support {

/// Memory between two inaccessible pages; what is placed touches one of them.
class guarded {
public:
    enum where { at_end, at_start };

    explicit guarded(std::size_t capacity = 1 << 16) : size_((capacity + page - 1) / page * page) {
        base_ = static_cast<char*>(
            mmap(nullptr, size_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        if (base_ == MAP_FAILED || mprotect(base_ + page, size_, PROT_READ | PROT_WRITE) != 0) std::abort();
    }
    guarded(const guarded&) = delete;
    ~guarded() { munmap(base_, size_ + 2 * page); }

    char* room(std::size_t n, where side = at_end) const {
        if (n > size_) std::abort();
        return base_ + page + (side == at_end ? size_ - n : 0);
    }
    char* place(std::string_view text, where side = at_end) const {
        char* const p = room(text.size(), side);
        text.copy(p, text.size());
        return p;
    }

private:
    static constexpr std::size_t page = 4096;
    std::size_t size_;
    char* base_;
};

/// The library bound to one set of vector kernels.
struct level {
    const char* name;
    const qzstr_charset_info_t* catalogue;
    void* module;
};

/// The levels that this machine can run: `plain` (exact routines only) comes first.
inline const std::vector<level>& levels() {
    static const std::vector<level> loaded = [] {
        std::vector<level> found;
        for (const char* name : {"plain", "sse2", "avx2", "avx512"}) {
            const bool runs = std::strcmp(name, "avx2") == 0     ? __builtin_cpu_supports("avx2") != 0
                              : std::strcmp(name, "avx512") == 0 ? __builtin_cpu_supports("avx512vbmi2") != 0
                                                                 : true;
            if (!runs) continue;
            char path[4096];
            std::snprintf(path, sizeof path, LEVEL_MODULES_DIR "/qzstr_level_%s.so", name);
            void* const module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
            if (module == nullptr) {
                std::fprintf(stderr, "%s\n", dlerror());
                std::abort();
            }
            found.push_back({name, static_cast<const qzstr_charset_info_t*>(dlsym(module, "_charset_info")), module});
        }
        return found;
    }();
    return loaded;
}

} // namespace support
