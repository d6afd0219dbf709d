// Wherever memory runs out in the class library, the run ends with one line and status 1.
#include <gtest/gtest.h>

#include <string>

#include "allocation/failing_allocation.h"
#include "containers/shash.h"
#include "containers/slist.h"
#include "msg/allocation.h"
#include "msg/user_msg.h"

namespace {

const char* const general_message = "ERROR: Unable to allocate storage for the conversion\n";

int by_address(const void* a, const void* b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

/// Every failing run of `body` must end with `message`; one in which nothing fails, with the other text and status.
template <typename BODY>
void expect_clean_failures(BODY body, long at_least, const std::string& message, const std::string& success_text = "",
                           int success_status = 0) {
    const long failures = for_every_failing_allocation(
        [&] {
            install_allocation_handler();
            body();
        },
        [&](long nth, const child_result& result) {
            EXPECT_EQ(result.status, 1) << "allocation " << nth;
            EXPECT_EQ(result.err, message) << "allocation " << nth;
            EXPECT_EQ(result.out, "") << "allocation " << nth;
        },
        [&](const child_result& result) {
            EXPECT_EQ(result.status, success_status);
            EXPECT_EQ(result.err, success_text);
        });
    EXPECT_GE(failures, at_least);
}

TEST(Allocation, ContainersRunOutOfMemoryCleanly) {
    // At least two blocks of nodes, the sorted table, and the stack of the sort.
    const auto use_list = [] {
        static SLIST global;  // destroyed at the end of the run, whatever has become of it
        static char items[200];
        global.set_cmp_func(by_address);
        for (char& item : items)
            global.prepend(&item);
        global.sort();
        SLIST copy;
        copy.copy(&global);
        copy.find(&items[7]);
    };
    expect_clean_failures(use_list, 4, general_message);
    // Buckets, entries, nodes, three sorted tables.
    const auto use_table = [] {
        static SHASH global(SHASH::UINT32_hash, SHASH::UINT32_cmp, 3);
        for (std::uint32_t key = 0; key < 100; ++key)
            global.add(key, nullptr);
        for (std::uint32_t key = 0; key < 3; ++key)
            global.find(key);
    };
    expect_clean_failures(use_table, 6, general_message);
}

TEST(Allocation, DieGivesOneMessageOrTheOther) {
    const std::string place(100, 'p');  // too long for a string that needs no memory
    expect_clean_failures([&] { UMSG.die(place.c_str(), "fault"); }, 1, general_message,
                          ">> internal error:\n" + std::string(38, ' ') + place + ": fault\n", 1);
}

TEST(Allocation, TheInnermostScopeSpeaks) {
    const char* const inner = "ERROR: Unable to allocate storage for inner\n";
    const char* const outer = "ERROR: Unable to allocate storage for outer\n";
    for (const char* const speaker : {inner, outer, general_message}) {
        const auto allocate_for = [&](const char* scope) {
            if (scope == speaker)
                delete new std::string(100, 'x');
        };
        const auto nested = [&] {
            {
                const allocation_scope outer_scope(outer);
                {
                    const allocation_scope inner_scope(inner);
                    allocate_for(inner);
                }
                allocate_for(outer);
            }
            allocate_for(general_message);
        };
        expect_clean_failures(nested, 2, speaker);
    }
}

}  // namespace
