// Everything for which modforge would refuse a COFF file with its entries files, or warn of them.
//
// Whether it would, and what it exports, is the second opinion's answer. Where that ends at the first fault, the faults
// are looked for one by one, mended in memory, and the conversion is tried again: so those behind the first come to
// light, too.
#ifndef MODFORGE_TOOLS_COFFDUMP_CHECKS_H
#define MODFORGE_TOOLS_COFFDUMP_CHECKS_H

#include <optional>
#include <string>
#include <vector>

#include "tools/coffdump/conversion_checks.h"
#include "tools/coffdump/entries_text.h"
#include "tools/coffdump/findings.h"
#include "tools/coffdump/raw_image.h"
#include "tools/second_opinion/account.h"
#include "tools/second_opinion/conversion.h"

/// A conversion as it would be asked of modforge.
struct planned_conversion {
    std::string input;  ///< a path, or "-"
    std::vector<std::string> entries_files;
    bool symbols_only = false;
    bool runtime_cinit = false;
    int packet_size = second_opinion::greatest_packet;
};

class examination {
public:
    /// Reads all files and checks them. `plan` must outlive the examination.
    explicit examination(const planned_conversion& plan);
    examination(const examination&) = delete;
    examination& operator=(const examination&) = delete;

    /// False, after a message on standard error, when a file could not be read; then nothing else is known.
    bool readable() const { return readable_; }
    /// Whether modforge would write no module.
    bool refused() const { return refused_; }
    const finding_list& findings() const { return findings_; }
    /// The entries of all files, and those that modforge adds, with what becomes of them.
    const std::vector<placed_entry>& entries() const { return entries_; }

private:
    bool read_files();
    void examine();
    second_opinion::conversion convert_as_is();
    void convert_mended(conversion_checks& checks);
    void judge(conversion_checks& checks, const std::string& refusal);
    void explain(const second_opinion::conversion& refused);
    void add_packet_warnings();

    const planned_conversion& plan_;
    second_opinion::conversion_request request_;
    std::string said_;  ///< by modforge, once everything is mended
    second_opinion::account told_;
    bool readable_ = false;
    bool refused_ = false;
    finding_list findings_;
    std::vector<placed_entry> entries_;
};

#endif
