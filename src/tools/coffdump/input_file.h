// The COFF file that is looked at, as far as it can be read.
//
// The class library ends the run where a file contradicts itself. Here such an end is the end of one step only: the
// fault is told, and the steps behind it are taken all the same.
#ifndef MODFORGE_TOOLS_COFFDUMP_INPUT_FILE_H
#define MODFORGE_TOOLS_COFFDUMP_INPUT_FILE_H

#include <functional>
#include <memory>
#include <string>

#include "coff/coff_file.h"

class input_file {
public:
    /// Opens and reads a file, or standard input for "-". What is wrong with it goes to standard error.
    explicit input_file(const std::string& path);
    ~input_file();
    input_file(const input_file&) = delete;
    input_file& operator=(const input_file&) = delete;

    /// False when no byte could be read.
    bool readable() const { return readable_; }
    /// Whether nothing wrong was met so far.
    bool sound() const { return sound_; }
    /// Whether the system did not give what is in the file, so that nothing that was told is certain.
    bool reading_failed() const { return file_.reading_failed(); }
    /// Whether it has at least a file header of the right version.
    bool is_coff() const { return file_.fh_magic() == coff_version_2; }
    COFF_FILE& file() { return file_; }

    /// Does a step that may meet a fault. False if it met one; the step has then ended there.
    bool try_step(const std::function<void()>& step);

private:
    bool open(const std::string& path);
    void read(const std::string& path);
    void read_remaining_sections();
    void read_remaining_symbols();
    void read_remaining_relocations();
    void tell_missing_parts();
    void unlist_overlaps();
    void tell_overlap(const COFF_SECTION& section, const char* what);

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream_;
    COFF_FILE file_{true};
    bool readable_ = false;
    bool sound_ = true;
};

/// Visits the sections that there are, in their order.
void for_each_section(COFF_FILE& file, const std::function<void(COFF_SECTION&)>& visit);

#endif
