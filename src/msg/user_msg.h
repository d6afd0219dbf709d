// The voice of the class library: messages with a severity, filtered, counted, and wrapped to the width of a terminal.
#ifndef MODFORGE_MSG_USER_MSG_H
#define MODFORGE_MSG_USER_MSG_H

#include <cstdarg>
#include <cstdint>

/// Every message is one printf format with its arguments, without a line break. It never allocates except in die(), and
/// needs no destructor, so the destructor of any other object may still speak through it.
class USER_MSG final {
public:
    /// The gaps are deliberate: 33 to 37 are sub-levels of a warning and print as one. Any other value is refused.
    enum ERROR_SEVERITY : std::int32_t {
        DEBUG = 0,      ///< standard output
        REMARK = 16,    ///< standard output
        WARNING = 32,   ///< standard error, as are all below
        ERROR = 48,     ///< counts towards the maximum
        USAGE = 64,     ///< how a program is called; does not end the run
        FATAL = 80,     ///< ends the run with status 1
        INTERNAL = 96,  ///< a fault of this program; ends the run with status 1
    };

    /// A started va_list on its way to message(); the list is the caller's and is used up. A type of its own, and an
    /// explicit one: where va_list is a plain pointer, message(ERROR, "%s", NULL) would otherwise take NULL for a list.
    struct arguments {
        explicit arguments(std::va_list* started) : list(started) {}
        std::va_list* list;
    };

    /// Messages below `level` are dropped. The message during which the count of errors is at `max_errors` is the last.
    constexpr USER_MSG(ERROR_SEVERITY level, std::int32_t max_errors) {
        set_sev_level(level);
        set_max_errors(max_errors);
    }

    // The order of the virtual operations is fixed: new ones go to the end.

    constexpr virtual void set_sev_level(ERROR_SEVERITY level) { sev_level_ = level; }
    constexpr virtual void set_max_errors(std::int32_t max_errors) { max_errors_ = max_errors; }

    /// Errors printed since the start; it only grows. A dropped error is not counted.
    virtual std::int32_t get_error_count();

    /// Prints the message behind the prefix of its severity. Ends the run after a FATAL or INTERNAL one, after any
    /// message once the maximum of errors is reached, and when prefix and message together exceed 4095 bytes.
    [[gnu::format(printf, 3, 0)]] virtual void message(ERROR_SEVERITY severity, const char* format, arguments args);
    [[gnu::format(printf, 3, 4)]] virtual void message(ERROR_SEVERITY severity, const char* format, ...);

    /// Reports a fault inside method `where` as an INTERNAL message "where: ..." and ends the run.
    [[noreturn]] [[gnu::format(printf, 3, 4)]] virtual void die(const char* where, const char* format, ...);

    /// A FATAL message. Returns only if the severity level is INTERNAL, which drops it.
    [[gnu::format(printf, 2, 3)]] virtual void fatal_err(const char* format, ...);

    /// A USAGE message.
    [[gnu::format(printf, 2, 3)]] virtual void usage_msg(const char* format, ...);

private:
    ERROR_SEVERITY sev_level_ = REMARK;
    std::int32_t max_errors_ = 0;
    std::int32_t error_count_ = 0;
};

/// Where messages go in place of the standard streams: the text without prefix and line break. Null in the converter; a
/// program with a voice of its own sets it.
extern void (*user_msg_sink)(USER_MSG::ERROR_SEVERITY severity, const char* text);

/// The one instance. Initialised at compile time and never destroyed: it exists before and after everything else.
extern constinit USER_MSG UMSG;

/// UMSG.fatal_err(), and the end of the run even where the severity level drops the message.
[[noreturn]] [[gnu::format(printf, 1, 2)]] void end_fatally(const char* format, ...);

#endif
