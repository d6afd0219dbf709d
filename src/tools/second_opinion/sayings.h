// What a run of the converter says on standard error while it goes on.
#ifndef MODFORGE_TOOLS_SECOND_OPINION_SAYINGS_H
#define MODFORGE_TOOLS_SECOND_OPINION_SAYINGS_H

#include <cstdint>
#include <string>

namespace second_opinion {

class sayings {
public:
    /// With `warns` false the warnings about entries are not said.
    sayings(bool warns, std::uint64_t most) : warns_(warns), most_(most) {}

    [[nodiscard]] bool warns_of_entries() const { return warns_; }

    /// Adds to the text, as long as it is no longer than the most that it may take: long names can be repeated often.
    void say(const std::string& line) {
        if (text_.size() <= most_)
            text_ += line;
    }

    [[nodiscard]] const std::string& text() const { return text_; }

private:
    bool warns_;
    std::uint64_t most_;
    std::string text_;
};

}  // namespace second_opinion

#endif
