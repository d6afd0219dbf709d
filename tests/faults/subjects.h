// The runs that faults are let loose on, and the files that they work with.
#ifndef MODFORGE_FAULTS_SUBJECTS_H
#define MODFORGE_FAULTS_SUBJECTS_H

#include <string>
#include <vector>

#include "cases/run_modforge.h"

namespace faults {

struct subject {
    std::vector<std::string> command;
    std::string output = {};  ///< the file that it makes, if any
    int status = 0;
    const char* input = "app.out";  ///< standard input

    [[nodiscard]] bool is_modforge() const;
    /// The status for trouble with files or memory.
    [[nodiscard]] int trouble() const;
    [[nodiscard]] std::string title() const;
};

extern const std::vector<subject> conversions, module_runs, image_runs, library_runs;

/// A directory with everything that the subjects read.
class room : public cases::workshop {
public:
    room();
    /// Makes the files as they are before `next`, which may have been changed by others, and removes its output.
    void prepare(const subject& next) const;
    /// What a run left as its output; empty when there is none.
    [[nodiscard]] support::bytes output_of(const subject& each) const;

private:
    void furnish() const;
};

}  // namespace faults

#endif
