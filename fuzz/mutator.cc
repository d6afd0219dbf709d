// Most changes are to records; some are to bytes, since no record tells what lies between them.
#include "mutator.h"

#include <algorithm>
#include <random>

using support::bytes;
using support::field;
using support::record;
using support::record_map;

namespace {

class mutator {
public:
    mutator(bytes& input, std::uint64_t seed) : input_(input), random_(seed) {}

    void run() {
        for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
            map_ = fuzz_input.records ? fuzz_input.records(input_) : record_map();
            if (map_.records.empty() || below(8) == 0)
                change_bytes();
            else if (below(3) != 0)
                change_field(map_.records[below(map_.records.size())]);
            else
                change_records();
        }
        if (fuzz_input.repair && below(8) != 0)
            fuzz_input.repair(input_);
    }

private:
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_()) % limit; }
    [[nodiscard]] bytes::iterator at(std::size_t offset) const {
        return input_.begin() + static_cast<std::ptrdiff_t>(std::min(offset, input_.size()));
    }

    /// Often the place of a record, or how many there are: what fits the field's meaning breaks more than chance does.
    std::uint32_t new_value(std::uint32_t old, std::size_t width) {
        const auto breaking = support::breaking_values(old, width, input_.size());
        switch (below(6)) {
        case 0:
            return static_cast<std::uint32_t>(map_.records[below(map_.records.size())].offset - map_.start);
        case 1:
            return static_cast<std::uint32_t>(below(map_.records.size() + 2));
        case 2:
            return old + static_cast<std::uint32_t>(below(33)) - 16;
        case 3:
            return static_cast<std::uint32_t>(random_()) >> below(32);
        default:
            return breaking[below(breaking.size())];
        }
    }

    void change_field(const record& chosen) {
        for (bool again = true; again; again = below(3) == 0) {  // several fields of one record contradict each other
            const field& place = chosen.kind->fields[below(chosen.kind->fields.size())];
            const std::size_t offset = chosen.offset + place.offset;
            const std::uint32_t old = support::get(input_, offset, place.width, map_.order);
            support::put_at(input_, offset, place.width, new_value(old, place.width), map_.order);
        }
    }

    void change_records() {
        const record& chosen = map_.records[below(map_.records.size())];
        const std::size_t size = chosen.kind->size;
        const bytes copy(at(chosen.offset), at(chosen.offset + size));
        switch (below(5)) {
        case 0:  // over another of its kind
        case 1:  // in exchange for it
            if (const record* other = another(chosen)) {
                if (below(2) == 0)
                    std::copy(at(other->offset), at(other->offset + size), at(chosen.offset));
                std::copy(copy.begin(), copy.end(), at(other->offset));
            }
            break;
        case 2:
            return insert(chosen, copy);
        case 3:
            return remove(chosen);
        default:  // a stretch of a table into another place
            if (const record* other = another(chosen)) {
                const auto [from, to] = std::minmax(chosen.offset, other->offset);
                const bytes stretch(at(from), at(to + size));
                input_.insert(at(map_.records[below(map_.records.size())].offset), stretch.begin(), stretch.end());
            }
        }
    }

    const record* another(const record& chosen) {
        const record& other = map_.records[below(map_.records.size())];
        return other.kind == chosen.kind ? &other : nullptr;
    }

    void insert(const record& chosen, const bytes& copy) {
        move_pointers(chosen, 1);
        input_.insert(at(chosen.offset), copy.begin(), copy.end());
    }

    void remove(const record& chosen) {
        move_pointers(chosen, -1);
        input_.erase(at(chosen.offset), at(chosen.offset + chosen.kind->size));
    }

    /// So that all behind the record is found again, and its table is as long as it says; mostly.
    void move_pointers(const record& moved, int by) {
        const std::size_t table = records_around(moved);
        for (const record& each : map_.records) {
            for (const field& place : each.kind->fields) {
                const std::uint32_t value = support::get(input_, each.offset + place.offset, place.width, map_.order);
                const bool points = place.width == 4 && value > moved.offset - map_.start && value <= input_.size();
                const bool counts = value == table && each.kind != moved.kind;
                if ((!points && !counts) || below(8) == 0)
                    continue;
                const int change = points ? by * static_cast<int>(moved.kind->size) : by;
                support::put_at(input_, each.offset + place.offset, place.width,
                                value + static_cast<std::uint32_t>(change), map_.order);
            }
        }
    }

    /// How many records of its size lie in a row with it.
    [[nodiscard]] std::size_t records_around(const record& one) const {
        const auto adjacent = [&](std::size_t i) {
            const record &left = map_.records[i], &right = map_.records[i + 1];
            return left.kind->size == right.kind->size && left.offset + left.kind->size == right.offset;
        };
        std::size_t first = static_cast<std::size_t>(&one - map_.records.data()), last = first;
        while (first > 0 && adjacent(first - 1))
            --first;
        while (last + 1 < map_.records.size() && adjacent(last))
            ++last;
        return last - first + 1;
    }

    void change_bytes() {
        const std::size_t place = below(input_.size() + 1), length = below(16) + 1;
        const bytes stretch(at(place), at(place + length));
        switch (input_.empty() ? 3 : below(5)) {
        case 0:
            input_[below(input_.size())] ^= static_cast<std::uint8_t>(1U << below(8));
            break;
        case 1:
            input_.resize(place);
            break;
        case 2:
            input_.erase(at(place), at(place + length));
            break;
        case 3:
            input_.insert(at(place), length, static_cast<std::uint8_t>(random_()));
            break;
        default: {
            const std::size_t to = below(input_.size() + 1);
            input_.insert(at(to), stretch.begin(), stretch.end());
        }
        }
    }

    bytes& input_;
    std::mt19937_64 random_;
    record_map map_;
};

}  // namespace

void mutate(bytes& input, std::size_t most, std::uint64_t seed) {
    mutator(input, seed).run();
    if (input.size() > most)
        input.resize(most);
}
