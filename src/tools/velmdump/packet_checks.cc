// Packets have no table: each is found behind the one before, and only the first of a section has its place on record.
// So a packet with a wrong header loses those behind it, until the next section begins.
#include "tools/velmdump/packet_checks.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>

#include "format/limits.h"
#include "format/reloc_types.h"
#include "tools/common/text_forms.h"
#include "tools/velmdump/checks.h"
#include "tools/velmdump/findings.h"
#include "tools/velmdump/module_words.h"
#include "tools/velmdump/packet_cuts.h"
#include "tools/velmdump/reloc_checks.h"
#include "tools/velmdump/velm_module.h"

namespace {

/// Looks at the packets of one section, one after the other.
class section_walk {
public:
    section_walk(const velm_module& module, const section_place& section, finding_list& report)
        : module_(module), section_(section), report_(report), relocs_(module, section, report) {
        cuts_.packets.reserve(section.packets_in_file);
        cuts_.relocs.reserve(section.nreloc);
    }

    /// A packet whose sum is right.
    void check(const packet_place& packet) {
        const std::uint32_t size = packet.header.data_size;
        if (size == 0 || size > static_cast<std::uint32_t>(max_packet_size)) {
            report_.error(packet.offset + offsetof(velm_packet_header, data_size), "packet of %s of data",
                          counted(size, "byte").c_str());
            skip(packet);
            return;
        }
        const auto bytes = module_.raw.bytes.begin();
        if (std::any_of(bytes + static_cast<std::ptrdiff_t>(packet.data() + size),
                        bytes + static_cast<std::ptrdiff_t>(packet.relocs()), [](unsigned char b) { return b != 0; }))
            report_.error(packet.data() + size, "padding of a packet is not zero");
        if (explicable_)
            cuts_.packets.push_back({packet.offset, contents_, size, cuts_.relocs.size()});
        for (std::uint32_t i = 0; i < packet.header.nreloc; ++i)
            check_reloc(module_.reloc(packet, i), packet, packet.relocs() + sizeof(reloc_record) * std::uint64_t{i});
        contents_ += size;
    }

    /// A packet that nothing can be said of.
    void skip(const packet_place& packet) {
        contents_ += packet.header.data_size;
        explicable_ = false;
    }

    /// When all of the section came by: what they are together.
    void finish(packet_cuts& cuts) {
        const std::uint64_t size = std::uint64_t{section_.header.size} * (static_cast<unsigned>(section_.width) / 8U);
        if (static_cast<std::uint64_t>(contents_) == size) {
            if (explicable_ && !wraps())
                cuts.explain(cuts_, report_);
        } else if (size != 0 && !report_.has_errors()) {  // else its flags, or a packet, tell
            report_.error(section_.offset + offsetof(velm_scnhdr_record, size),
                          "packets of %s do not add up to a size of %s",
                          counted(static_cast<std::uint64_t>(contents_), "byte").c_str(),
                          counted(section_.header.size, "unit").c_str());
        }
    }

private:
    void check_reloc(const reloc_record& rec, const packet_place& packet, std::uint64_t at) {
        relocs_.check(rec, at, contents_, packet.header.data_size);
        const std::int64_t place = contents_ + section_.byte_place(rec);
        const bool in_order = cuts_.relocs.empty() || cuts_.relocs.back().place <= place;
        explicable_ = explicable_ && in_order && place >= contents_ && place - contents_ <= packet.header.data_size;
        if (explicable_)
            cuts_.relocs.push_back({static_cast<std::int32_t>(place), container_bytes(rec)});
    }

    /// Whether places might have wrapped while the converter counted them in bytes: then a cut means nothing.
    [[nodiscard]] bool wraps() const {
        if (section_.width == 8)
            return false;
        const auto width = static_cast<std::uint64_t>(section_.width);
        const std::uint64_t first = section_.header.vaddr * width;
        const std::uint64_t end = (std::uint64_t{section_.header.vaddr} + section_.header.size) * width;
        return first >> 31 != end >> 31;
    }

    const velm_module& module_;
    const section_place& section_;
    finding_list& report_;
    reloc_checker relocs_;
    section_cuts cuts_;
    std::int64_t contents_ = 0;  ///< bytes so far
    bool explicable_ = true;     ///< all packets and places are such that the cuts can be looked at
};

class packet_checker {
public:
    packet_checker(const velm_module& module, const sound_parts& parts, finding_list& report)
        : module_(module), parts_(parts), report_(report) {}

    void check_sections() {
        std::uint64_t at = module_.tables_end;
        for (std::size_t i = next_with_place(0); i < module_.sections.size() && !(lost_ && at >= module_.size());) {
            const std::size_t next = next_with_place(i + 1);
            at = check_section(module_.sections[i], at,
                               next == module_.sections.size() ? nullptr : &module_.sections[next]);
            i = next;
        }
    }

    /// Only the sums: nothing is known of the sections.
    void check_sums() {
        chain packets = walk(module_.tables_end, module_.size(), std::numeric_limits<std::uint32_t>::max(), nullptr);
        report_.take(std::move(packets.end == module_.size() ? packets.wrong_sums : packets.first_wrong_sum));
    }

private:
    /// What a walk from packet to packet came to.
    struct chain {
        std::uint64_t end = 0;        ///< behind the last packet in the file
        std::uint64_t count = 0;      ///< packets up to there
        std::uint64_t own_end = 0;    ///< behind the last of those that the section claims
        std::uint64_t own_count = 0;  ///< these
        finding_list wrong_sums;
        finding_list first_wrong_sum;
    };

    /// The next section, from `index` on, that claims to have packets or a place for them.
    [[nodiscard]] std::size_t next_with_place(std::size_t index) const {
        const auto has_place = [](const section_place& s) {
            return s.header.npackets != 0 || s.header.first_packet != 0;
        };
        return static_cast<std::size_t>(std::find_if(module_.sections.begin() + static_cast<std::ptrdiff_t>(index),
                                                     module_.sections.end(), has_place) -
                                        module_.sections.begin());
    }

    /// From packet to packet up to `limit`: those that the section claims and, while nothing was lost before, those
    /// beyond. Its own are checked.
    chain walk(std::uint64_t at, std::uint64_t limit, std::uint32_t npackets, section_walk* section) {
        chain result;
        result.end = result.own_end = at;
        while (result.end != limit && (result.count < npackets || (!lost_ && result.end < limit)) &&
               module_.size() - result.end >= sizeof(velm_packet_header)) {
            const packet_place packet = module_.packet(result.end);
            if (packet.end() > module_.size())
                break;
            const bool own = result.count++ < npackets;
            const bool right = adds_up(packet);
            if (!right)
                note_wrong_sum(packet, result);
            if (own && section)
                right ? section->check(packet) : section->skip(packet);
            result.end = packet.end();
            if (own) {
                result.own_end = result.end;
                result.own_count = result.count;
            }
        }
        return result;
    }

    static void note_wrong_sum(const packet_place& packet, chain& packets) {
        const auto tell = [&packet](finding_list& report) {
            report.error(packet.offset + offsetof(velm_packet_header, checksum), "packet checksum 0x%08X is wrong",
                         packet.header.checksum);
        };
        tell(packets.wrong_sums);
        if (!packets.first_wrong_sum.has_errors())
            tell(packets.first_wrong_sum);
    }

    /// Checks the packets from `at` on as those of a section. Returns where the next section's begin.
    std::uint64_t check_section(const section_place& section, std::uint64_t at, const section_place* next) {
        const std::uint64_t limit = next ? next->header.first_packet : module_.size();
        finding_list inside;
        section_walk own(module_, section, inside);
        chain packets = walk(at, limit, section.header.npackets, &own);
        const bool cut_off = limit == module_.size() && packets.count < section.header.npackets;
        if (packets.end == limit && !cut_off) {
            report_.take(std::move(packets.wrong_sums));
            finish(section, packets, own, inside);
            report_.take(std::move(inside));
            return limit;
        }
        lost_ = true;
        const bool goes_on = next && limit > at && has_packet(limit);
        if (packets.wrong_sums.has_errors())
            report_.take(std::move(packets.first_wrong_sum));
        else
            tell_wrong_end(section, next, packets, goes_on);
        // Behind a packet that the file cuts off, nothing can be found.
        return goes_on ? limit : packets.own_count < section.header.npackets ? module_.size() : packets.own_end;
    }

    void finish(const section_place& section, const chain& packets, section_walk& own, finding_list& inside) {
        if (packets.count != section.header.npackets)
            inside.error(section.offset + offsetof(velm_scnhdr_record, npackets),
                         "%s of section %s, but %llu in the file", counted(section.header.npackets, "packet").c_str(),
                         name_of(section).c_str(), wide(packets.count));
        else if (packets.count != 0)
            own.finish(cuts_);
        else
            inside.error(section.offset + offsetof(velm_scnhdr_record, first_packet),
                         "section %s has a place for packets, but none", name_of(section).c_str());
    }

    /// Whether a packet with a right sum lies at the offset.
    [[nodiscard]] bool has_packet(std::uint64_t offset) const {
        if (offset > module_.size() || module_.size() - offset < sizeof(velm_packet_header))
            return false;
        const packet_place packet = module_.packet(offset);
        return packet.end() <= module_.size() && adds_up(packet);
    }

    [[nodiscard]] bool adds_up(const packet_place& packet) const {
        return module_.raw.sum(packet.offset, packet.end() - packet.offset) == 0xFFFFFFFFU;
    }

    /// `goes_on`: the next section's packets are where they should be, so that it is this one's that are wrong.
    void tell_wrong_end(const section_place& section, const section_place* next, const chain& packets, bool goes_on) {
        const std::string name = name_of(section);
        if (goes_on)
            report_.error(packets.own_end, "packets of section %s lead here, but those of the next begin at 0x%X",
                          name.c_str(), next->header.first_packet);
        else if (packets.own_count < section.header.npackets)
            report_.error(packets.own_end, "packet %llu of %u of section %s does not end inside the file",
                          wide(packets.own_count + 1), section.header.npackets, name.c_str());
        else if (next)
            report_.error(next->offset + offsetof(velm_scnhdr_record, first_packet),
                          "first packet at 0x%X, but it belongs at 0x%llX", next->header.first_packet,
                          wide(packets.own_end));
        else
            report_.error(packets.own_end, "%s behind the end of the module",
                          counted(module_.size() - packets.own_end, "byte").c_str());
    }

    [[nodiscard]] std::string name_of(const section_place& section) const {
        return parts_.strings ? brief(module_.name(section), 60)
                              : std::to_string(&section - module_.sections.data() + 1);
    }

    const velm_module& module_;
    const sound_parts& parts_;
    finding_list& report_;
    packet_cuts cuts_;
    bool lost_ = false;  ///< a chain did not end where it should
};

}  // namespace

void check_packets(const velm_module& module, const sound_parts& parts, finding_list& report) {
    packet_checker checker(module, parts, report);
    if (!parts.sections) {
        checker.check_sums();
        return;
    }
    checker.check_sections();
}
