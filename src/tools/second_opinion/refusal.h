// The end of a conversion that gives no module.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_REFUSAL_H
#define MODFORGE_TOOLS_SECOND_OPINION_REFUSAL_H

#include <string>
#include <string_view>
#include <utility>

namespace second_opinion {

/// Thrown where the converter must end its run with status 1.
struct refusal {
    std::string why;       ///< for people
    std::string err = {};  ///< what it says on standard error; nothing where the words are its own choice
    std::string out = {};  ///< what it says on standard output
};

/// Ends the conversion for a reason whose words are the converter's own choice.
[[noreturn]] inline void refuse(std::string why) {
    throw refusal{std::move(why)};
}

/// Ends the conversion with a line that the converter prints as it stands: `voice`, which is no part of the reason,
/// and the reason.
[[noreturn]] inline void refuse_saying(std::string_view voice, const std::string& why) {
    throw refusal{why, std::string(voice) + why + '\n'};
}

}  // namespace second_opinion

#endif
