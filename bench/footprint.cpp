// What the library takes in memory, as JSON; bench/memory.py makes sense of it.
//
// footprint lines MODULE   the cache lines of read-only data that each row's conversions touch: on real text
//                          (QZSTR_CORPUS) and on all that the row holds
// footprint stack MODULE   bytes of stack below the caller, the most that any row takes for an operation
// footprint load MODULE    page faults and time of loading, and of the first conversion
// footprint run COMMAND... processor time and most memory of a program (whoever starts it counts in its memory: this
//                          one is small)
//
// Lines are found by taking the access rights of the read-only data away: each access faults, is noted, is let through as
// a single step, and the rights are taken away again. The module is one without gathering loads, whose addresses the
// processor would not tell.
#include "qzstr_charset.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fstream>
#include <functional>
#include <link.h>
#include <map>
#include <nlohmann/json.hpp>
#include <pthread.h>
#include <set>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t line_bytes = 64, page_bytes = 4096;

const qzstr_charset_info_t* catalogue;

std::string convert(int from, int to, std::string text, conv_status_t* status = nullptr) {
    std::string out(text.size() * 4 + 16, 0);
    int read = 0, written = 0;
    const conv_status_t s = catalogue[from].qzstr_get_another_charset_str_fn[to](
        static_cast<qzstr_charset_t>(from), text.data(), static_cast<int>(text.size()),
        static_cast<qzstr_charset_t>(to), out.data(), static_cast<int>(out.size()), &read, &written);
    if (status != nullptr) *status = s;
    out.resize(static_cast<std::size_t>(written));
    return out;
}

void load(const char* module) {
    void* const handle = dlopen(module, RTLD_NOW | RTLD_LOCAL);
    catalogue = handle != nullptr ? static_cast<const qzstr_charset_info_t*>(dlsym(handle, "_charset_info")) : nullptr;
    if (catalogue == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(1);
    }
}

// ---- Lines ----

/// The module's read-only data, and what of it was touched. The handlers use nothing else.
struct watched {
    char *base, *begin, *end;
    std::vector<bool> touched;
    char* open[8];
    std::size_t opened;
} memory;

void set_rights(char* page, std::size_t bytes, int rights) {
    if (mprotect(page, bytes, rights) != 0) std::abort();
}

void note_access(int, siginfo_t* info, void* context) {
    char* const address = static_cast<char*>(info->si_addr);
    if (address < memory.begin || address >= memory.end || memory.opened == std::size(memory.open)) std::_Exit(1);
    memory.touched[static_cast<std::size_t>(address - memory.begin) / line_bytes] = true;
    char* const page = address - reinterpret_cast<std::uintptr_t>(address) % page_bytes;
    memory.open[memory.opened++] = page;
    set_rights(page, page_bytes, PROT_READ);
    static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL] |= 0x100; // stop behind this instruction
}

void close_again(int, siginfo_t*, void* context) {
    while (memory.opened > 0)
        set_rights(memory.open[--memory.opened], page_bytes, PROT_NONE);
    static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL] &= ~0x100LL;
}

/// The last segment of the module that is neither written nor executed.
void find_read_only_data() {
    Dl_info about;
    if (dladdr(reinterpret_cast<const void*>(catalogue[0].qzstr_count_char_fn), &about) == 0) std::exit(1);
    memory.base = static_cast<char*>(about.dli_fbase);
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void*) {
            if (reinterpret_cast<char*>(info->dlpi_addr) != memory.base) return 0;
            for (int i = 0; i < info->dlpi_phnum; ++i) {
                const auto& segment = info->dlpi_phdr[i];
                if (segment.p_type != PT_LOAD || segment.p_flags != PF_R) continue;
                memory.begin = memory.base + segment.p_vaddr / page_bytes * page_bytes;
                memory.end =
                    memory.base + (segment.p_vaddr + segment.p_memsz + page_bytes - 1) / page_bytes * page_bytes;
            }
            return 1;
        },
        nullptr);
    memory.touched.resize(static_cast<std::size_t>(memory.end - memory.begin) / line_bytes);
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = note_access;
    sigaction(SIGSEGV, &action, nullptr);
    action.sa_sigaction = close_again;
    sigaction(SIGTRAP, &action, nullptr);
}

/// Offsets of the lines that converting the UTF-8 text into the row and back touches.
std::vector<std::size_t> lines_touched(int row, const std::string& utf8) {
    std::fill(memory.touched.begin(), memory.touched.end(), false);
    set_rights(memory.begin, static_cast<std::size_t>(memory.end - memory.begin), PROT_NONE);
    const std::string there = convert(QZSTR_CHARSET_UTF8, row, utf8);
    for (const int unicode : {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_UTF16})
        convert(unicode, row, convert(row, unicode, there));
    set_rights(memory.begin, static_cast<std::size_t>(memory.end - memory.begin), PROT_READ);
    std::vector<std::size_t> lines;
    for (std::size_t line = 0; line < memory.touched.size(); ++line)
        if (memory.touched[line])
            lines.push_back(static_cast<std::size_t>(memory.begin - memory.base) + line * line_bytes);
    return lines;
}

std::string real_text(int row, const std::string& language) {
    const char* const directory = std::getenv("QZSTR_CORPUS");
    std::ifstream in(std::string(directory != nullptr ? directory : ".") + "/" + language + ".txt");
    std::string text;
    for (std::string line; text.size() < 64 * 1024 && std::getline(in, line);) {
        conv_status_t status = 0;
        convert(QZSTR_CHARSET_UTF8, row, line, &status);
        if (status == 0) text += line + "\n";
    }
    if (text.empty()) {
        std::fprintf(stderr, "QZSTR_CORPUS has no text in %s\n", language.c_str());
        std::exit(1);
    }
    return text;
}

/// A sample of the characters of the first three planes that the row holds, one a line: they do not join. No table is
/// so small that all of its characters are left out.
std::string repertoire(int row) {
    std::string text;
    for (unsigned c = 0; c < 0x30000; c += c < 0x3000 ? 1 : 13) {
        const std::string unit = {0, static_cast<char>(c >> 16), static_cast<char>(c >> 8), static_cast<char>(c)};
        std::string utf8(8, 0), there(16, 0);
        int read = 0, written = 0;
        std::string in = unit;
        catalogue[QZSTR_CHARSET_UTF8].qzstr_from_ucs4_fn(in.data(), 4, utf8.data(), 8, &read, &written, 1);
        utf8.resize(static_cast<std::size_t>(written));
        conv_status_t status = 0;
        if (!utf8.empty() && (convert(QZSTR_CHARSET_UTF8, row, utf8, &status), status == 0)) text += utf8 + "\n";
    }
    return text;
}

nlohmann::ordered_json lines() {
    static const std::map<std::string, std::vector<int>> rows_of = {
        {"ko",
         {QZSTR_CHARSET_EUCKR, QZSTR_CHARSET_MSWIN949, QZSTR_CHARSET_UTF8, QZSTR_CHARSET_UTF16,
          QZSTR_CHARSET_ISO2022KR}},
        {"ja",
         {QZSTR_CHARSET_SJIS, QZSTR_CHARSET_SJIS_TILDE, QZSTR_CHARSET_MSWIN932, QZSTR_CHARSET_MSWIN932_TILDE,
          QZSTR_CHARSET_EUCJP, QZSTR_CHARSET_EUCJP_TILDE}},
        {"zh-cn", {QZSTR_CHARSET_MSWIN936, QZSTR_CHARSET_GB18030}},
        {"zh-tw", {QZSTR_CHARSET_MSWIN950, QZSTR_CHARSET_ZHT16BIG5, QZSTR_CHARSET_ZHT16MSWIN950, QZSTR_CHARSET_EUCTW}},
        {"ru", {QZSTR_CHARSET_MSWIN1251, QZSTR_CHARSET_KOI8R, QZSTR_CHARSET_ISO8859P5, QZSTR_CHARSET_MSDOS866}},
        {"el", {QZSTR_CHARSET_MSWIN1253, QZSTR_CHARSET_ISO8859P7}},
        {"ar", {QZSTR_CHARSET_MSWIN1256, QZSTR_CHARSET_ISO8859P6}},
        {"fr", {QZSTR_CHARSET_MSWIN1252, QZSTR_CHARSET_ISO8859P1, QZSTR_CHARSET_ISO8859P15}},
        {"he", {QZSTR_CHARSET_ISO8859P8}},
        {"th", {QZSTR_CHARSET_TIS620}},
        {"vi", {QZSTR_CHARSET_TCVN3}},
        {"tr", {QZSTR_CHARSET_ISO8859P9}},
        {"pl", {QZSTR_CHARSET_ISO8859P2}},
        {"en", {QZSTR_CHARSET_ASCII, QZSTR_CHARSET_US8ICL}},
    };
    find_read_only_data();
    nlohmann::ordered_json out;
    for (const auto& [language, rows] : rows_of)
        for (const int row : rows)
            out[catalogue[row].name] = {{"language", language},
                                        {"text", lines_touched(row, real_text(row, language))},
                                        {"repertoire", lines_touched(row, repertoire(row))}};
    return out;
}

// ---- Stack ----

constexpr std::size_t stack_bytes = 1 << 20;

/// Bytes of a fresh stack that work in a thread of its own changes.
std::size_t stack_taken(const std::function<void()>& work) {
    void* const stack = mmap(nullptr, stack_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    std::memset(stack, 0xA5, stack_bytes);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack, stack_bytes);
    pthread_t thread;
    pthread_create(
        &thread, &attributes,
        [](void* function) -> void* {
            (*static_cast<const std::function<void()>*>(function))();
            return nullptr;
        },
        const_cast<std::function<void()>*>(&work));
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    const auto* const bytes = static_cast<unsigned char*>(stack);
    const std::size_t untouched = static_cast<std::size_t>(
        std::find_if(bytes, bytes + stack_bytes, [](unsigned char b) { return b != 0xA5; }) - bytes);
    munmap(stack, stack_bytes);
    return stack_bytes - untouched;
}

nlohmann::ordered_json stack() {
    static std::string utf8, out(1 << 20, 0), units(1 << 20, 0);
    for (unsigned c = 0x20; c < 0x10000; c += 7)
        utf8 += convert(QZSTR_CHARSET_UTF16, QZSTR_CHARSET_UTF8, {static_cast<char>(c >> 8), static_cast<char>(c)});
    std::map<std::string, std::size_t> most;
    const std::size_t nothing = stack_taken([] {});
    const auto measure = [&](const char* operation, const std::function<void()>& work) {
        const std::size_t taken = stack_taken(work);
        most[operation] = std::max(most[operation], taken > nothing ? taken - nothing : 0);
    };
    for (int row = 0; row < QZSTR_CHARSET_MAX; ++row) {
        const qzstr_charset_info_t& r = catalogue[row];
        std::string text = convert(QZSTR_CHARSET_UTF8, row, utf8);
        char* const t = text.data();
        const int n = static_cast<int>(text.size()), room = static_cast<int>(out.size());
        int a = 0, b = 0, count = 0;
        uchar cut = 0;
        for (int to = 0; to < QZSTR_CHARSET_MAX; ++to)
            measure("conversion into another charset", [&] {
                r.qzstr_get_another_charset_str_fn[to](static_cast<qzstr_charset_t>(row), t, n,
                                                       static_cast<qzstr_charset_t>(to), out.data(), room, &a, &b);
            });
        for (const auto decode : {r.qzstr_to_ucs2_fn, r.qzstr_to_ucs4_fn})
            measure("to_ucs2, to_ucs4, to_wchar", [&] { decode(t, n, units.data(), room, &a, &b, 0); });
        for (const auto encode : {r.qzstr_from_ucs2_fn, r.qzstr_from_ucs4_fn})
            measure("from_ucs2, from_ucs4, from_wchar",
                    [&] { encode(units.data(), b, out.data(), room, &a, &count, 0); });
        if (row == QZSTR_CHARSET_ISO2022KR || row == QZSTR_CHARSET_US8ICL) continue; // they refuse the others
        measure("count_char, count_byte",
                [&] { count = r.qzstr_count_char_fn(t, n), r.qzstr_count_byte_fn(t, count / 2); });
        measure("boundaries at a byte", [&] {
            r.qzstr_is_char_leading_byte(t, n / 2), r.qzstr_get_char_leading_byte(t, n / 2);
            r.qzstr_is_char_ending_byte(t, n / 2), r.qzstr_get_char_ending_byte(t, n / 2, 1);
        });
        measure("get_byte_pos, get_byte_pos_with_disp_size", [&] {
            r.qzstr_get_byte_pos_fn(t, n, n, &a, &b, &count);
            r.qzstr_get_byte_pos_with_disp_size_fn(t, n, n, &a, &b, &cut);
        });
        for (const auto mode : {QZSTR_CASE_LOWER, QZSTR_CASE_UPPER, QZSTR_CASE_INITCAP})
            measure("convert_case", [&] { r.qzstr_convert_case_fn(mode, t, n); });
        measure("get_first_trailing_space, isspace",
                [&] { r.qzstr_get_first_trailing_space_fn(t, n), r.qzstr_isspace_fn(t, 0); });
    }
    return most;
}

// ---- Load ----

long faults() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}

nlohmann::ordered_json load_costs(const char* module) {
    timespec before, after;
    const long start = faults();
    clock_gettime(CLOCK_MONOTONIC, &before);
    load(module);
    clock_gettime(CLOCK_MONOTONIC, &after);
    const long loaded = faults();
    char text[] = "\xB0\xA1\n", out[32];
    int read = 0, written = 0;
    catalogue[QZSTR_CHARSET_MSWIN949].qzstr_get_another_charset_str_fn[QZSTR_CHARSET_UTF8](
        QZSTR_CHARSET_MSWIN949, text, 3, QZSTR_CHARSET_UTF8, out, sizeof out, &read, &written);
    const double seconds =
        static_cast<double>(after.tv_sec - before.tv_sec) + static_cast<double>(after.tv_nsec - before.tv_nsec) * 1e-9;
    return {
        {"faults", loaded - start}, {"microseconds", seconds * 1e6}, {"faults_first_conversion", faults() - loaded}};
}

// ---- Programs ----

nlohmann::ordered_json run(char** command) {
    const pid_t child = fork();
    if (child == 0) {
        execvp(command[0], command);
        std::perror(command[0]);
        std::_Exit(127);
    }
    int status = 0;
    rusage usage;
    if (wait4(child, &status, 0, &usage) != child || status != 0) std::exit(1);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
    };
    return {{"seconds", seconds(usage.ru_utime) + seconds(usage.ru_stime)}, {"kib", usage.ru_maxrss}};
}

} // namespace

int main(int argc, char** argv) {
    const std::string what = argc == 3 || (argc > 3 && argv[1] == std::string("run")) ? argv[1] : "";
    if (what == "lines" || what == "stack") load(argv[2]);
    nlohmann::ordered_json out;
    if (what == "lines")
        out = lines();
    else if (what == "stack")
        out = stack();
    else if (what == "load")
        out = load_costs(argv[2]);
    else if (what == "run")
        out = run(argv + 2);
    else
        return std::fprintf(stderr, "usage: footprint lines|stack|load MODULE, footprint run COMMAND...\n"), 2;
    std::fprintf(what == "run" ? stderr : stdout, "%s\n", out.dump().c_str());
}
