// Reads in growing steps up to a limit that is known before the first byte, so that no input takes memory without end.
#include "tools/common/file_input.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <system_error>

#include "msg/patient_io.h"
#include "tools/common/text_forms.h"
#include "tools/common/tool_run.h"

namespace {

using contents = std::vector<unsigned char>;

constexpr std::size_t first_step = 1U << 16;

/// The size of a regular file; 0 when there is none to know beforehand, as for a pipe or a file made while it is read.
std::uintmax_t size_beforehand(const std::string& path) {
    std::error_code none;
    if (path == "-" || !std::filesystem::is_regular_file(path, none))
        return 0;
    const std::uintmax_t size = std::filesystem::file_size(path, none);
    return none ? 0 : size;
}

/// Reads up to `limit` bytes, where the stream ends or fails at the latest. Whoever knows the size gets one allocation.
contents read_up_to(std::FILE* stream, std::size_t limit, bool size_is_known) {
    contents bytes;
    std::size_t used = 0;
    while (used < limit) {
        if (used == bytes.size())
            bytes.resize(size_is_known ? limit : std::min(limit, std::max(2 * used, first_step)));
        const std::size_t got = read_bytes(&bytes[used], bytes.size() - used, stream);
        if (got == 0)
            break;
        used += got;
    }
    bytes.resize(used);
    return bytes;
}

std::optional<contents> refuse(const std::string& path, const char* why) {
    complain("cannot read %s: %s", input_label(path).c_str(), why);
    return std::nullopt;
}

std::optional<contents> read_stream(std::FILE* stream, const std::string& path) {
    const std::uintmax_t size = size_beforehand(path);
    if (size > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()))
        return refuse(path, "it is too large for this computer");
    errno = 0;
    contents bytes = read_up_to(stream, size != 0 ? static_cast<std::size_t>(size) : largest_stream, size != 0);
    if (std::ferror(stream))
        return refuse(path, std::strerror(errno));
    if (bytes.size() < size)
        return refuse(path, "it became shorter meanwhile");
    if (size == 0 && bytes.size() == largest_stream && std::fgetc(stream) != EOF)
        return refuse(path, "it does not end within 134217728 bytes (a regular file may have more)");
    return bytes;
}

}  // namespace

std::optional<std::vector<unsigned char>> read_whole(const std::string& path) {
    if (path == "-") {
        static bool was_read = false;
        if (was_read)
            return refuse(path, "it was read already");
        was_read = true;
        return read_stream(stdin, path);
    }
    std::FILE* stream = std::fopen(path.c_str(), "rb");
    if (!stream)
        return refuse(path, std::strerror(errno));
    auto result = read_stream(stream, path);
    std::fclose(stream);
    return result;
}

std::string input_label(const std::string& path) {
    return path == "-" ? "standard input" : printable(path);
}
