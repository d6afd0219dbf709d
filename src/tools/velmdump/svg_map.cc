// One band a section, all to one scale: names of exported symbols above, packets in the band, and below it a strip that
// is the darker the more relocations a packet has for its size. Every part tells its numbers when the pointer rests on it.
#include "tools/velmdump/svg_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "tools/common/text_forms.h"
#include "tools/velmdump/show.h"

namespace {

constexpr double picture_width = 1400;
constexpr double label_width = 270;
constexpr double right_margin = 40;
constexpr double header_height = 84;
constexpr double band_height = 26;
constexpr double strip_height = 7;
constexpr double tier_height = 14;
constexpr double row_gap = 22;
constexpr double char_width = 6.1;  // of the small font, for keeping names apart
constexpr std::size_t most_tiers = 5;
constexpr std::size_t most_letters = 40;

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : printable(text)) {
        switch (c) {
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '&':
            result += "&amp;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

/// At most `length` characters, the end marked where it was cut.
std::string shortened(std::string_view name, std::size_t length) {
    return name.size() <= length ? escaped(name) : escaped(name.substr(0, length - 1)) + "\u2026";
}

struct placed_name {
    double x;
    std::uint64_t offset;  ///< bytes from the start of the section
    std::string_view name;
    std::size_t tier;  ///< line of text above the band; most_tiers: no room
};

const char* colour_of(const section_place& section) {
    switch (section.header.flags & velm_scn_type_mask) {
    case velm_scn_code:
        return "#4e79a7";
    case velm_scn_data:
        return "#59a14f";
    case velm_scn_init_table:
        return "#b07aa1";
    default:
        return "#9aa0a6";
    }
}

class map_painter {
public:
    map_painter(const velm_module& module, const char* title, std::FILE* out)
        : module_(module), title_(title), out_(out) {
        std::uint64_t largest = 1;
        for (const section_place& section : module.sections)
            largest = std::max(largest, bytes_of(section));
        for (const section_place& section : module.sections) {
            for (const packet_place& packet : module_.packets(section))
                densest_ = std::max(densest_, density_of(packet));
        }
        scale_ = (picture_width - label_width - right_margin) / static_cast<double>(largest);
    }

    void draw() {
        std::vector<std::vector<placed_name>> names;
        double height = header_height;
        for (std::size_t i = 0; i < module_.sections.size(); ++i) {
            names.push_back(place_names(i));
            height += row_height(names.back());
        }
        begin(height + 20);
        double y = header_height;
        for (std::size_t i = 0; i < module_.sections.size(); ++i) {
            draw_section(module_.sections[i], names[i], y);
            y += row_height(names[i]);
        }
        std::fputs("</svg>\n", out_);
    }

private:
    /// Relocations per byte.
    static double density_of(const packet_place& packet) {
        return static_cast<double>(packet.header.nreloc) / std::max(1U, packet.header.data_size);
    }

    static std::uint64_t bytes_of(const section_place& section) {
        return std::max(section.contents_size,
                        std::uint64_t{section.header.size} * (static_cast<unsigned>(section.width) / 8U));
    }

    static std::size_t tiers_of(const std::vector<placed_name>& names) {
        std::size_t tiers = 0;
        for (const placed_name& name : names) {
            if (name.tier < most_tiers)
                tiers = std::max(tiers, name.tier + 1);
        }
        return tiers;
    }

    static double row_height(const std::vector<placed_name>& names) {
        return static_cast<double>(tiers_of(names)) * tier_height + band_height + strip_height + row_gap;
    }

    [[nodiscard]] double x_of(std::uint64_t bytes) const { return label_width + static_cast<double>(bytes) * scale_; }

    /// The exported symbols of section `index`, left to right, each on the lowest line that has room for its name;
    /// where no line has, the name shows only under the pointer.
    [[nodiscard]] std::vector<placed_name> place_names(std::size_t index) const {
        const section_place& section = module_.sections[index];
        std::vector<placed_name> names;
        for (const velm_symbol_record& symbol : module_.symbols) {
            if (!velm_module::is_named(symbol) || symbol.section != static_cast<int>(index) + 1)
                continue;
            const std::uint64_t offset =
                std::uint64_t{symbol.value - section.header.paddr} * (static_cast<unsigned>(section.width) / 8U);
            if (offset <= bytes_of(section))
                names.push_back({x_of(offset), offset, module_.name(symbol), most_tiers});
        }
        std::stable_sort(names.begin(), names.end(),
                         [](const placed_name& a, const placed_name& b) { return a.x < b.x; });
        // From the right: a name further left goes higher, so that no stem crosses a name.
        std::array<double, most_tiers> limit;
        limit.fill(picture_width);
        for (auto name = names.rbegin(); name != names.rend(); ++name) {
            const std::size_t letters = std::min<std::size_t>(name->name.size(), most_letters);
            const double end = name->x + static_cast<double>(letters) * char_width + 10;
            const auto* tier = std::find_if(limit.begin(), limit.end(), [end](double x) { return end <= x; });
            if (tier == limit.end())
                continue;
            name->tier = static_cast<std::size_t>(tier - limit.begin());
            std::fill_n(limit.begin(), name->tier + 1, name->x);  // the stem stands in the way on lower lines too
        }
        return names;
    }

    void begin(double height) {
        std::fprintf(
            out_,
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" viewBox=\"0 0 %.0f %.0f\" "
            "font-family=\"sans-serif\">\n",
            picture_width, height, picture_width, height);
        std::fprintf(out_, "<rect width=\"100%%\" height=\"100%%\" fill=\"#ffffff\"/>\n");
        std::fprintf(out_, "<text x=\"20\" y=\"30\" font-size=\"18\" font-weight=\"bold\">%s</text>\n",
                     escaped(title_).c_str());
        std::fprintf(
            out_,
            "<text x=\"20\" y=\"52\" font-size=\"12\" fill=\"#555555\">%llu bytes, target 0x%04X, %zu sections, "
            "%zu symbols; bands to scale, packets as steps in a band, the strip below darkens with the "
            "density of relocations</text>\n",
            static_cast<unsigned long long>(module_.size()), module_.header.target_id, module_.sections.size(),
            module_.symbols.size());
        static const struct {
            const char* colour;
            const char* text;
        } legend[] = {{"#4e79a7", "code"},
                      {"#59a14f", "data"},
                      {"#b07aa1", "initialisation table"},
                      {"#9aa0a6", "uninitialised"},
                      {"#e15759", "relocations"}};
        double x = 20;
        for (const auto& item : legend) {
            std::fprintf(out_,
                         "<rect x=\"%.0f\" y=\"62\" width=\"12\" height=\"12\" fill=\"%s\"/>"
                         "<text x=\"%.0f\" y=\"72\" font-size=\"11\">%s</text>\n",
                         x, item.colour, x + 17, item.text);
            x += 40 + static_cast<double>(std::string_view(item.text).size()) * char_width;
        }
    }

    void draw_section(const section_place& section, const std::vector<placed_name>& names, double y) {
        const double band = y + static_cast<double>(tiers_of(names)) * tier_height;
        const std::string name = shortened(module_.name(section), 34);
        std::fprintf(out_, "<text x=\"20\" y=\"%.1f\" font-size=\"13\">%s<title>%s</title></text>\n", band + 12,
                     name.c_str(), escaped(module_.name(section)).c_str());
        std::fprintf(out_,
                     "<text x=\"20\" y=\"%.1f\" font-size=\"10\" fill=\"#777777\">0x%08X, %llu bytes, %llu "
                     "relocations</text>\n",
                     band + 26, section.header.paddr, static_cast<unsigned long long>(bytes_of(section)),
                     static_cast<unsigned long long>(section.nreloc));
        draw_band(section, band);
        draw_packets(section, band);
        draw_names(names, band);
    }

    /// The whole section; dashed where it has no contents in the module.
    void draw_band(const section_place& section, double y) {
        const bool empty = section.packets_in_file == 0;
        std::fprintf(out_,
                     "<rect x=\"%.2f\" y=\"%.1f\" width=\"%.2f\" height=\"%.1f\" fill=\"%s\" fill-opacity=\"%s\" "
                     "stroke=\"%s\"%s><title>%s: %s</title></rect>\n",
                     label_width, y, std::max(2.0, x_of(bytes_of(section)) - label_width), band_height,
                     colour_of(section), empty ? "0.08" : "0.25", colour_of(section),
                     empty ? " stroke-dasharray=\"4 3\"" : "", escaped(module_.name(section)).c_str(),
                     flag_words(section.header.flags).c_str());
    }

    void draw_packets(const section_place& section, double y) {
        std::uint64_t start = 0;
        unsigned number = 0;
        for (const packet_place& packet : module_.packets(section)) {
            const std::uint64_t end = start + packet.header.data_size;
            const double x = x_of(start);
            const double width = std::max(0.4, x_of(end) - x);
            const double share = densest_ > 0 ? density_of(packet) / densest_ : 0;
            std::fprintf(out_,
                         "<g><title>packet at 0x%llX: bytes 0x%llX to 0x%llX, %u relocations</title>"
                         "<rect x=\"%.2f\" y=\"%.1f\" width=\"%.2f\" height=\"%.1f\" fill=\"%s\" fill-opacity=\"%s\"/>"
                         "<rect x=\"%.2f\" y=\"%.1f\" width=\"%.2f\" height=\"%.1f\" fill=\"#e15759\" "
                         "fill-opacity=\"%.2f\"/></g>\n",
                         static_cast<unsigned long long>(packet.offset), static_cast<unsigned long long>(start),
                         static_cast<unsigned long long>(end), packet.header.nreloc, x, y, width, band_height,
                         colour_of(section), number++ % 2 == 0 ? "0.55" : "0.8", x, y + band_height + 1, width,
                         strip_height, packet.header.nreloc == 0 ? 0.0 : 0.1 + 0.9 * std::sqrt(share));
            start = end;
        }
    }

    void draw_names(const std::vector<placed_name>& names, double y) {
        for (const placed_name& name : names) {
            const bool written = name.tier < most_tiers;
            const double top = written ? y - static_cast<double>(name.tier) * tier_height - 10 : y - 3;
            std::fprintf(out_,
                         "<g><title>%s at byte 0x%llX</title><line x1=\"%.2f\" y1=\"%.1f\" x2=\"%.2f\" y2=\"%.1f\" "
                         "stroke=\"#333333\" stroke-width=\"0.8\"/>",
                         escaped(name.name).c_str(), static_cast<unsigned long long>(name.offset), name.x, top, name.x,
                         y + 4);
            if (written)
                std::fprintf(out_,
                             "<text x=\"%.2f\" y=\"%.1f\" font-size=\"10\" paint-order=\"stroke\" stroke=\"#ffffff\" "
                             "stroke-width=\"2.5\">%s</text>",
                             name.x + 3, top + 7, shortened(name.name, most_letters).c_str());
            std::fputs("</g>\n", out_);
        }
    }

    const velm_module& module_;
    const char* title_;
    std::FILE* out_;
    double scale_ = 1;    ///< picture units per byte
    double densest_ = 0;  ///< relocations per byte of the densest packet
};

}  // namespace

void draw_map(const velm_module& module, const char* title, std::FILE* out) {
    map_painter(module, title, out).draw();
}
