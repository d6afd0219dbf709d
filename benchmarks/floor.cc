// What no converter can beat by much: brings a file's bytes to another file and sums their words on the way.
//
// usage: floor whole IN OUT     one read, one sum, one write
//        floor pieces IN OUT    64 KiB at a time
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

namespace {

std::uint32_t sum_of_words(const unsigned char* data, std::size_t size) {
    std::uint32_t sum = 0;
    for (std::size_t at = 0; at + 4 <= size; at += 4) {
        std::uint32_t word;
        std::memcpy(&word, data + at, sizeof word);
        sum += word;
    }
    return sum;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    std::FILE* in = std::fopen(argv[2], "rb");
    std::FILE* out = std::fopen(argv[3], "wb");
    if (!in || !out)
        return 1;
    std::setvbuf(in, nullptr, _IONBF, 0);
    std::setvbuf(out, nullptr, _IONBF, 0);

    std::size_t piece = 64 * 1024;
    if (std::string_view(argv[1]) == "whole") {
        std::fseek(in, 0, SEEK_END);
        piece = static_cast<std::size_t>(std::ftell(in));
        std::rewind(in);
    }
    const std::unique_ptr<unsigned char[]> buffer(new unsigned char[piece]);  // not filled: that would be a pass more
    volatile std::uint32_t sum = 0;                                           // must really be made
    std::size_t got;
    do {
        got = std::fread(buffer.get(), 1, piece, in);
        sum = sum + sum_of_words(buffer.get(), got);
        if (std::fwrite(buffer.get(), 1, got, out) != got)
            return 1;
    } while (got == piece && std::string_view(argv[1]) != "whole");
    return std::fclose(out) == 0 && std::fclose(in) == 0 ? 0 : 1;
}
