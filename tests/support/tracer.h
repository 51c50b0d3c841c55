// SPDX-License-Identifier: Apache-2.0
//
// A tracer for the static probes of a shared object that this process has loaded. It does what any
// tracer does, and needs no rights: it finds the probes by the notes in the object's file, counts
// up their semaphores, puts a breakpoint in place of each one's instruction, and reads the
// arguments from where the notes say that they lie. For x86-64; one tracer at a time.
#pragma once

#include <elf.h>
#include <link.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kelvo::test {

/// A probe that was passed. Arguments that were signed are sign-extended.
struct Event {
    std::string_view probe;
    std::array<std::uint64_t, 6> arguments = {};

    friend bool operator==(const Event&, const Event&) = default;
    friend void PrintTo(const Event& event, std::ostream* out) {
        *out << event.probe;
        for (const std::uint64_t argument : event.arguments) *out << ' ' << argument;
    }
};

class Tracer {
  public:
    /// Whether this tracer says, as all others do, that somebody watches.
    enum class Semaphores { left_alone, counted_up };

    /// Watches every probe. `object` is how the name of the shared object's file begins.
    explicit Tracer(std::string_view object, Semaphores semaphores = Semaphores::counted_up)
        : counted_up_(semaphores == Semaphores::counted_up ? 1 : 0) {
        loaded_.name = object;
        dl_iterate_phdr(find_object, &loaded_);
        if (loaded_.path.empty()) throw std::runtime_error("not loaded: " + std::string(object));
        std::ifstream file(loaded_.path, std::ios::binary | std::ios::ate);
        std::string content(static_cast<std::size_t>(file.tellg()), '\0');
        file.seekg(0).read(content.data(), static_cast<std::streamsize>(content.size()));
        read_notes(content);
        events_.reserve(1 << 10);
        current() = this;
        struct sigaction action = {};
        action.sa_sigaction = stopped;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGTRAP, &action, &before_);
        for (const Place& place : places_) set(place, kBreakpoint, counted_up_);
    }
    ~Tracer() {
        for (const Place& place : places_) set(place, kNothing, -counted_up_);
        sigaction(SIGTRAP, &before_, nullptr);
        current() = nullptr;
    }
    Tracer(const Tracer&) = delete;
    Tracer& operator=(const Tracer&) = delete;

    /// What was passed since it was last asked.
    [[nodiscard]] std::vector<Event> take() {
        std::vector<Event> taken(events_);
        events_.clear();
        return taken;
    }

  private:
    static constexpr std::uint8_t kNothing = 0x90;
    static constexpr std::uint8_t kBreakpoint = 0xCC;

    /// An argument: a number, a register, or what lies in memory at a register and a displacement.
    struct Argument {
        int size;  ///< in bytes, negative if it is signed
        int base = -1;
        bool in_memory = false;
        std::int64_t number = 0;
    };
    struct Place {
        std::string name;
        std::uint8_t* instruction;
        std::uint8_t* semaphore;
        std::vector<Argument> arguments;
    };
    struct Loaded {
        std::string_view name;
        std::string path;
        std::uintptr_t base = 0;
    };

    static int find_object(dl_phdr_info* info, std::size_t, void* data) {
        auto& wanted = *static_cast<Loaded*>(data);
        const std::string path = info->dlpi_name;
        if (!path.substr(path.rfind('/') + 1).starts_with(wanted.name)) return 0;
        wanted.path = path;
        wanted.base = info->dlpi_addr;
        return 1;
    }

    template <class Record>
    static Record read(const std::string& file, std::size_t at) {
        Record record;
        if (at > file.size() || file.size() - at < sizeof record) throw std::runtime_error("ends");
        std::memcpy(&record, file.data() + at, sizeof record);
        return record;
    }

    /// A note: sizes, the owner's name, then three addresses and three texts.
    void read_notes(const std::string& file) {
        const auto header = read<Elf64_Ehdr>(file, 0);
        for (std::size_t i = 0; i < header.e_shnum; ++i) {
            const auto section = read<Elf64_Shdr>(file, header.e_shoff + i * sizeof(Elf64_Shdr));
            if (section.sh_type != SHT_NOTE) continue;
            std::size_t at = section.sh_offset;
            while (at < section.sh_offset + section.sh_size) {
                const auto note = read<Elf64_Nhdr>(file, at);
                const std::size_t owner = at + sizeof note;
                const std::size_t content = owner + ((note.n_namesz + 3) & ~3U);
                at = content + ((note.n_descsz + 3) & ~3U);
                if (std::strcmp(file.c_str() + owner, "stapsdt") == 0) read_place(file, content);
            }
        }
    }

    void read_place(const std::string& file, std::size_t at) {
        const auto addresses = read<std::array<std::uint64_t, 3>>(file, at);
        const char* text = file.c_str() + at + sizeof addresses;
        text += std::strlen(text) + 1;  // the provider
        Place place;
        place.name = text;
        place.instruction = reinterpret_cast<std::uint8_t*>(loaded_.base + addresses[0]);
        place.semaphore = reinterpret_cast<std::uint8_t*>(loaded_.base + addresses[2]);
        if (addresses[2] == 0) throw std::runtime_error(place.name + " has no semaphore");
        text += place.name.size() + 1;
        std::string words = text;
        for (std::size_t begin = 0; begin < words.size();) {
            const std::size_t end = std::min(words.find(' ', begin), words.size());
            place.arguments.push_back(read_argument(words.substr(begin, end - begin)));
            begin = end + 1;
        }
        places_.push_back(place);
    }

    /// SIZE@$NUMBER, SIZE@%REGISTER or SIZE@DISPLACEMENT(%REGISTER).
    static Argument read_argument(const std::string& word) {
        char* rest;
        Argument argument = {};
        argument.size = static_cast<int>(std::strtol(word.c_str(), &rest, 10));
        std::string place = rest;
        if (place.starts_with("@$")) {
            argument.base = -1;
            argument.number = std::strtol(place.c_str() + 2, &rest, 10);
            if (*rest == '\0') return argument;
        } else if (place.starts_with("@%")) {
            argument.base = register_named(place.substr(2));
            if (argument.base >= 0) return argument;
        } else if (place.ends_with(")")) {
            argument.in_memory = true;
            argument.number = std::strtol(place.c_str() + 1, &rest, 10);
            const std::string base = std::string(rest).substr(0, std::strlen(rest) - 1);
            if (base.starts_with("(%")) argument.base = register_named(base.substr(2));
            if (argument.base >= 0) return argument;
        }
        throw std::runtime_error("an argument in a place that is not known here: " + word);
    }

    static int register_named(std::string_view name) {
        struct Row {
            int number;
            std::array<std::string_view, 4> names;
        };
        static constexpr Row kRows[] = {
            {REG_RAX, {"rax", "eax", "ax", "al"}},      {REG_RBX, {"rbx", "ebx", "bx", "bl"}},
            {REG_RCX, {"rcx", "ecx", "cx", "cl"}},      {REG_RDX, {"rdx", "edx", "dx", "dl"}},
            {REG_RSI, {"rsi", "esi", "si", "sil"}},     {REG_RDI, {"rdi", "edi", "di", "dil"}},
            {REG_RBP, {"rbp", "ebp", "bp", "bpl"}},     {REG_RSP, {"rsp", "esp", "sp", "spl"}},
            {REG_R8, {"r8", "r8d", "r8w", "r8b"}},      {REG_R9, {"r9", "r9d", "r9w", "r9b"}},
            {REG_R10, {"r10", "r10d", "r10w", "r10b"}}, {REG_R11, {"r11", "r11d", "r11w", "r11b"}},
            {REG_R12, {"r12", "r12d", "r12w", "r12b"}}, {REG_R13, {"r13", "r13d", "r13w", "r13b"}},
            {REG_R14, {"r14", "r14d", "r14w", "r14b"}}, {REG_R15, {"r15", "r15d", "r15w", "r15b"}}};
        for (const Row& row : kRows) {
            if (std::find(row.names.begin(), row.names.end(), name) != row.names.end()) {
                return row.number;
            }
        }
        return -1;
    }

    static void set(const Place& place, std::uint8_t instruction, int count) {
        const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
        const auto address = reinterpret_cast<std::uintptr_t>(place.instruction);
        auto* const begin = reinterpret_cast<void*>(address & ~(page - 1));
        if (mprotect(begin, page, PROT_READ | PROT_WRITE | PROT_EXEC) != 0) std::abort();
        *place.instruction = instruction;
        mprotect(begin, page, PROT_READ | PROT_EXEC);
        std::uint16_t counter;
        std::memcpy(&counter, place.semaphore, sizeof counter);
        counter = static_cast<std::uint16_t>(counter + count);
        std::memcpy(place.semaphore, &counter, sizeof counter);
    }

    static std::uint64_t value_of(const Argument& argument, const greg_t* registers) {
        auto value = static_cast<std::uint64_t>(argument.number);
        if (argument.base >= 0) value += static_cast<std::uint64_t>(registers[argument.base]);
        const int size = std::abs(argument.size);
        if (argument.in_memory) {
            const auto* const at = reinterpret_cast<const void*>(value);
            std::memcpy(&value, at, static_cast<std::size_t>(size));
        }
        const int unused = 64 - 8 * size;
        value <<= unused;
        return argument.size < 0
                   ? static_cast<std::uint64_t>(static_cast<std::int64_t>(value) >> unused)
                   : value >> unused;
    }

    /// The breakpoint has been passed by now, and what it replaced does nothing.
    static void stopped(int, siginfo_t*, void* context) {
        const greg_t* const registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
        const auto* const at = reinterpret_cast<const std::uint8_t*>(registers[REG_RIP]) - 1;
        Tracer& tracer = *current();
        for (const Place& place : tracer.places_) {
            if (place.instruction != at) continue;
            if (tracer.events_.size() == tracer.events_.capacity()) std::abort();
            Event event{place.name};
            for (std::size_t i = 0; i < place.arguments.size(); ++i) {
                event.arguments.at(i) = value_of(place.arguments[i], registers);
            }
            tracer.events_.push_back(event);
            return;
        }
        std::abort();
    }

    static Tracer*& current() {
        static Tracer* tracer = nullptr;
        return tracer;
    }

    const int counted_up_;
    Loaded loaded_;
    std::vector<Place> places_;
    std::vector<Event> events_;
    struct sigaction before_ = {};
};

}  // namespace kelvo::test
