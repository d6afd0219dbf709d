// Takes the class library's messages and its ends of the run for its own, and reads on behind them.
#include "tools/coffdump/input_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>
#include <system_error>
#include <unordered_set>

#include "coff/coff_section.h"
#include "coff/coff_symbol_table.h"
#include "msg/end_run.h"
#include "msg/patient_io.h"
#include "msg/user_msg.h"
#include "tools/common/file_input.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"

namespace {

/// Thrown in place of the end of the run.
struct step_ended {};

/// So many faults are told one by one.
constexpr std::size_t most_faults = 20;

std::string input_name;                       // in front of every fault
std::unordered_set<std::string> told_faults;  // steps that are taken again meet the same faults again

void end_step(int status) {
    if (status != status_trouble)  // without memory there is no going on
        throw step_ended();
}

void tell(USER_MSG::ERROR_SEVERITY, const char* text) {
    if (told_faults.size() > most_faults || !told_faults.insert(text).second)
        return;
    if (told_faults.size() > most_faults)
        complain("%s: further faults are not told", input_name.c_str());
    else if (std::strncmp(text, input_name.c_str(), input_name.size()) == 0)
        complain("%s", printable(text).c_str());
    else
        complain("%s: %s", input_name.c_str(), printable(text).c_str());
}

int close_if_open(std::FILE* stream) {
    return stream ? std::fclose(stream) : 0;
}

}  // namespace

input_file::input_file(const std::string& path) : stream_(nullptr, close_if_open) {
    input_name = input_label(path);
    end_run_hook = end_step;
    user_msg_sink = tell;
    UMSG.set_max_errors(std::numeric_limits<std::int32_t>::max());
    read(path);
}

input_file::~input_file() {
    end_run_hook = nullptr;
    user_msg_sink = nullptr;
}

/// A regular file is read where it lies; of any other, which may be read once only, a copy is made.
bool input_file::open(const std::string& path) {
    std::error_code none;
    if (std::filesystem::is_regular_file(path, none)) {
        stream_.reset(std::fopen(path.c_str(), "rb"));
        char first;
        readable_ = stream_ && (read_bytes(&first, 1, stream_.get()) != 0 || !std::ferror(stream_.get())) &&
                    std::fseek(stream_.get(), 0, SEEK_SET) == 0;
        if (!readable_)
            complain("cannot read %s: %s", printable(path).c_str(), std::strerror(errno));
        return readable_;
    }
    const auto contents = read_whole(path);
    if (!contents)
        return false;
    stream_.reset(std::tmpfile());
    readable_ = stream_ && std::fwrite(contents->data(), 1, contents->size(), stream_.get()) == contents->size() &&
                std::fseek(stream_.get(), 0, SEEK_SET) == 0;
    if (!readable_)
        complain("cannot keep a copy of %s: %s", input_name.c_str(), std::strerror(errno));
    return readable_;
}

void input_file::read(const std::string& path) {
    if (!open(path))
        return;
    bool whole = false;
    try_step([&] {
        file_.set_label(path == "-" ? input_name.c_str() : path.c_str());
        file_.refuse_overlaps();
        whole = file_.read(stream_.get(), false) == 0;
    });
    if (!whole) {
        sound_ = false;
        if (!file_.stream() || !is_coff())
            return;
        read_remaining_sections();
        read_remaining_symbols();
        read_remaining_relocations();
    }
    tell_missing_parts();
    unlist_overlaps();
    file_.bound_names();
}

bool input_file::try_step(const std::function<void()>& step) {
    try {
        step();
        return true;
    } catch (const step_ended&) {
        sound_ = false;
        return false;
    }
}

/// Those behind a section whose name is not there.
void input_file::read_remaining_sections() {
    const long first = file_.image_start() + static_cast<long>(sizeof(filehdr)) +
                       (file_.fh_opthdr() == sizeof(opthdr) ? static_cast<long>(sizeof(opthdr)) : 0);
    const int count = std::min<int>(file_.fh_nscns(), std::numeric_limits<std::int16_t>::max());
    for (int n = 1; n <= count; ++n) {
        if (!file_.get_section(static_cast<std::int16_t>(n))) {
            std::fseek(file_.stream(), first + (n - 1) * static_cast<long>(sizeof(scnhdr)), SEEK_SET);
            try_step([&] { file_.read_section_hdr(n - 1); });
        }
        COFF_SECTION* const section = file_.get_section(static_cast<std::int16_t>(n));
        if (!section)
            return;
        section->set_scnum(static_cast<std::uint16_t>(n));
    }
}

/// A table that is cut short, or whose names are not all there, is taken as far as it goes.
void input_file::read_remaining_symbols() {
    COFF_SYMBOL_TABLE& table = *file_.symbol_table();
    if (try_step([&] {
            table.reset();
            table.read(&file_);
        }))
        return;
    table.reset();
    std::unordered_set<std::uint32_t> told;  // there may be millions of them, and of ends of steps
    const auto tell_name = [&](std::uint32_t offset) {
        if (told.size() <= most_faults && told.insert(offset).second)
            try_step([&] { (void)file_.string(offset); });
    };
    try_step([&] { table.read_damaged(&file_, tell_name); });
}

void input_file::read_remaining_relocations() {
    std::uint64_t total = 0;
    for_each_section(file_, [&](COFF_SECTION& section) {
        total += std::uint64_t{section.sh_nreloc()} * sizeof(reloc);
        if (total <= file_.most_relocation_bytes())
            try_step([&] { (void)section.read_scn(); });
    });
}

void input_file::tell_missing_parts() {
    for_each_section(file_, [this](COFF_SECTION& section) {
        if (!section.contents_in_file())
            try_step([&] { section.read_raw_data(); });
        if (!section.lnnos_in_file())
            try_step([&] { section.read_lnnos(); });
    });
}

/// Where sections share their bytes, a listing could be many thousand times as long as the file.
void input_file::unlist_overlaps() {
    const auto room = static_cast<std::uint64_t>(file_.file_length());
    std::uint64_t contents = 0;
    std::uint64_t lines = 0;
    for_each_section(file_, [&](COFF_SECTION& section) {
        contents += section.lists_contents() ? section.byte_size() : 0;
        lines += section.lnnos_in_file() ? std::uint64_t{section.sh_nlnno()} * sizeof(lineno) : 0;
        if (section.lists_contents() && contents > room) {
            section.unlist_contents();
            tell_overlap(section, "contents");
        }
        if (section.sh_nlnno() != 0 && section.lnnos_in_file() && lines > room) {
            section.unlist_lines();
            tell_overlap(section, "line numbers");
        }
    });
}

void input_file::tell_overlap(const COFF_SECTION& section, const char* what) {
    sound_ = false;
    const std::string title = "section " + std::to_string(section.scnum()) + " (" + brief(section.title()) + ")";
    tell(USER_MSG::ERROR,
         ("the " + std::string(what) + " of " + title + " overlap those of others and are not listed").c_str());
}

void for_each_section(COFF_FILE& file, const std::function<void(COFF_SECTION&)>& visit) {
    const int count = std::min<int>(file.fh_nscns(), std::numeric_limits<std::int16_t>::max());
    for (int n = 1; n <= count; ++n) {
        if (COFF_SECTION* const section = file.get_section(static_cast<std::int16_t>(n)))
            visit(*section);
    }
}
