// Lines of 16 bytes run on over the borders of packets.
#include "tools/velmdump/hex_dump.h"

#include <algorithm>
#include <array>
#include <string>

namespace {

constexpr std::size_t line_bytes = 16;

/// Prints bytes line by line as they come, wherever packets begin.
class hex_printer {
public:
    hex_printer(const section_place& section, std::FILE* out)
        : unit_bytes_(static_cast<unsigned>(section.width) / 8U), address_(section.header.paddr), out_(out) {}

    void add(const unsigned char* bytes, std::size_t count) {
        for (; count != 0; --count, ++bytes) {
            line_[used_++] = *bytes;
            if (used_ == line_bytes)
                end_line();
        }
    }
    void end_line() {
        if (used_ == 0)
            return;
        std::string text;
        for (std::size_t i = 0; i < line_bytes; ++i) {
            static constexpr char digits[] = "0123456789ABCDEF";
            if (i % unit_bytes_ == 0)
                text += ' ';
            text += i < used_ ? digits[line_[i] >> 4] : ' ';
            text += i < used_ ? digits[line_[i] & 15] : ' ';
        }
        text += "  |";
        std::transform(line_.begin(), line_.begin() + static_cast<std::ptrdiff_t>(used_), std::back_inserter(text),
                       [](unsigned char c) { return c >= ' ' && c <= '~' ? static_cast<char>(c) : '.'; });
        std::fprintf(out_, "  %08X %s|\n", address_, text.c_str());
        address_ += static_cast<std::uint32_t>(line_bytes / unit_bytes_);
        used_ = 0;
    }

private:
    std::size_t unit_bytes_;
    std::uint32_t address_;  ///< of the line, address units
    std::FILE* out_;
    std::array<unsigned char, line_bytes> line_{};
    std::size_t used_ = 0;
};

}  // namespace

void print_hex_dump(const velm_module& module, const section_place& section, std::FILE* out) {
    hex_printer printer(section, out);
    for (const packet_place& packet : module.packets(section))
        printer.add(&module.raw.bytes[packet.data()], packet.header.data_size);
    printer.end_line();
}
