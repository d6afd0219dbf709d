// Runs of the built modforge, each in a directory of its own, compared with what must come out.
#ifndef MODFORGE_CASES_RUN_MODFORGE_H
#define MODFORGE_CASES_RUN_MODFORGE_H

#include <string>
#include <vector>

#include "support/coff_builder.h"
#include "support/run_program.h"
#include "tools/second_opinion/conversion.h"

namespace cases {

extern const std::string banner;  ///< what every run prints on standard output first
extern const std::string usage;   ///< what -h prints on standard error

/// A directory with files in it, and modforge runs with it as working directory.
class workshop {
public:
    support::run_result run(const std::vector<std::string>& arguments, support::run_settings settings = {}) const;
    std::string write(const std::string& name, const support::bytes& data) const { return files_.write(name, data); }
    std::string write(const std::string& name, std::string_view text) const { return files_.write(name, text); }
    [[nodiscard]] std::string path(const std::string& name) const { return files_.file(name); }
    [[nodiscard]] bool has(const std::string& name) const { return support::file_exists(path(name)); }
    [[nodiscard]] support::bytes read(const std::string& name) const { return support::read_file(path(name)); }

private:
    support::temporary_directory files_;
};

/// Writes the request's files into the workshop and gives the arguments that make the run. The output is "out.bin".
std::vector<std::string> prepare(const workshop& shop, const second_opinion::conversion_request& request);

/// Expects that the request converts, and of both outputs, the status and the module exactly what the second opinion
/// says.
void expect_conversion(const second_opinion::conversion_request& request);
/// Expects a refusal that leaves no output, with these words in its message and all else as the second opinion says.
/// Gives what was printed.
std::string expect_refusal(const second_opinion::conversion_request& request, const std::string& words);

/// A request for one image without anything else.
second_opinion::conversion_request request_for(const support::coff_image& image);

/// ".text" of 8 bytes with a relocation to the undefined "_printf", ".data" of 4 bytes, and the externals "_main"
/// and "_table" in them.
support::coff_image small_image();

/// The 32-bit word at a byte offset of a module.
std::uint32_t module_word(const support::bytes& module, std::size_t offset);
std::uint16_t module_half(const support::bytes& module, std::size_t offset);

}  // namespace cases

#endif
