// From a severity and a format to lines on a stream: filter, prefix, wrap, count, end the run.
#include "msg/user_msg.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

#include "msg/end_run.h"

void (*user_msg_sink)(USER_MSG::ERROR_SEVERITY severity, const char* text) = nullptr;

constinit USER_MSG UMSG(USER_MSG::REMARK, 100);
static_assert(std::is_trivially_destructible_v<USER_MSG>);

namespace {

constexpr std::size_t buffer_size = 4096;  ///< prefix, message and the NUL behind them
constexpr std::size_t screen_width = 78;

struct message_kind {
    USER_MSG::ERROR_SEVERITY severity;
    std::string_view prefix;
};

/// Blanks in front line up the colons of the short ones.
constexpr std::array<message_kind, 7> kinds = {{
    {USER_MSG::DEBUG, ">>   debug: "},
    {USER_MSG::REMARK, ">>  remark: "},
    {USER_MSG::WARNING, ">> warning: "},
    {USER_MSG::ERROR, ">>   error: "},
    {USER_MSG::USAGE, ">>   usage: "},
    {USER_MSG::FATAL, ">> fatal error: "},
    {USER_MSG::INTERNAL, ">> internal error: "},
}};

/// The place of the last blank at or before `limit`, the first character not counted; npos if there is none.
std::size_t last_blank(std::string_view text, std::size_t limit) {
    const std::size_t blank = text.rfind(' ', limit);
    return blank == 0 ? std::string_view::npos : blank;
}

void print_line(std::FILE* stream, std::string_view text) {
    std::fprintf(stream, "%.*s\n", static_cast<int>(text.size()), text.data());
}

void print_blanks(std::FILE* stream, std::size_t count) {
    std::fprintf(stream, "%*s", static_cast<int>(count), "");
}

/// Breaks `text` at blanks; every line but the first is indented by `hanging` blanks.
void print_wrapped(std::FILE* stream, std::string_view text, std::size_t hanging) {
    std::size_t indent = 0;
    while (text.size() > screen_width - indent) {
        print_blanks(stream, indent);
        const std::size_t blank = last_blank(text, screen_width - indent);
        if (blank == std::string_view::npos)
            break;  // On purpose: a word too long for its line has its indent printed twice.
        print_line(stream, text.substr(0, blank));
        text.remove_prefix(blank + 1);
        indent = hanging;
    }
    print_blanks(stream, indent);
    print_line(stream, text);
}

/// `where` as part of a format: a '%' in it stands for itself.
std::string as_format(const char* where) {
    std::string text;
    for (const char* c = where ? where : "(null)"; *c; ++c)
        text.append(*c == '%' ? 2 : 1, *c);
    return text;
}

}  // namespace

std::int32_t USER_MSG::get_error_count() {
    return error_count_;
}

void USER_MSG::message(ERROR_SEVERITY severity, const char* format, arguments args) {
    if (severity < sev_level_)
        return;
    if (severity > WARNING && severity <= WARNING + 5)
        severity = WARNING;
    const auto kind = std::find_if(kinds.begin(), kinds.end(), [&](const auto& k) { return k.severity == severity; });
    if (kind == kinds.end())
        die("USER_MSG::message", "unknown severity %d", static_cast<int>(severity));

    char buffer[buffer_size];
    const std::size_t prefix_length = kind->prefix.copy(buffer, buffer_size);
    const std::size_t room = buffer_size - prefix_length;  // the NUL included
    const int length = std::vsnprintf(buffer + prefix_length, room, format, *args.list);
    if (length < 0 || static_cast<std::size_t>(length) >= room) {  // negative: no length that an int could hold
        std::fprintf(stderr,
                     "Internal Error in USER_MSG::message:  attempt to generate a message > %d bytes, "
                     "which would result in a buffer overflow; terminating program.\n",
                     static_cast<int>(buffer_size - 1));
        end_run(EXIT_FAILURE);
    }

    std::FILE* const stream = severity < WARNING ? stdout : stderr;
    if (user_msg_sink)
        user_msg_sink(severity, buffer + prefix_length);
    else
        print_wrapped(stream, buffer, prefix_length);
    std::fflush(stream);
    if (severity == ERROR)
        ++error_count_;
    if (error_count_ >= max_errors_) {
        std::fputs("too many errors; abortng\n", stderr);  // misspelt on purpose: scripts look for it as it stands
        severity = FATAL;
    }
    if (severity >= FATAL)
        end_run(EXIT_FAILURE);
}

void USER_MSG::message(ERROR_SEVERITY severity, const char* format, ...) {
    std::va_list list;
    va_start(list, format);
    message(severity, format, arguments(&list));
    va_end(list);
}

void USER_MSG::die(const char* where, const char* format, ...) {
    const std::string located = as_format(where) + ": " + format;
    std::va_list list;
    va_start(list, format);
    message(INTERNAL, located.c_str(), arguments(&list));
    va_end(list);
    end_run(EXIT_FAILURE);  // reached only where the severity level lies above every severity
}

void USER_MSG::fatal_err(const char* format, ...) {
    std::va_list list;
    va_start(list, format);
    message(FATAL, format, arguments(&list));
    va_end(list);
}

void USER_MSG::usage_msg(const char* format, ...) {
    std::va_list list;
    va_start(list, format);
    message(USAGE, format, arguments(&list));
    va_end(list);
}

void end_fatally(const char* format, ...) {
    std::va_list list;
    va_start(list, format);
    UMSG.message(USER_MSG::FATAL, format, USER_MSG::arguments(&list));
    va_end(list);
    end_run(EXIT_FAILURE);
}
