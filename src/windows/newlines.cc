// Linked into the programs for Windows alone: there a text stream writes two bytes for the end of a line, and reads
// no further than a 0x1A. All our files and outputs are the same bytes on every machine.
#ifdef _WIN32
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <io.h>

namespace {

[[maybe_unused]] const int before_main = [] {
    _fmode = _O_BINARY;
    for (std::FILE* stream : {stdin, stdout, stderr})
        _setmode(_fileno(stream), _O_BINARY);
    return 0;
}();

}  // namespace
#endif
