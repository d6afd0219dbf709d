// Lets memory run out at every place in turn. Linking this replaces operator new for the whole test program, so these
// tests have a program of their own.
#ifndef MODFORGE_TESTS_ALLOCATION_FAILING_ALLOCATION_H
#define MODFORGE_TESTS_ALLOCATION_FAILING_ALLOCATION_H

#include "support/child_run.h"

/// From the `nth` call of operator new on (counted from 1, from now), every one fails as the real one does: by calling
/// the new-handler. 0 lets all succeed.
void fail_from_allocation(long nth);

/// Forgets that an allocation has failed; and whether one has, in this process or in a child forked since the start.
void forget_failed_allocation();
bool allocation_has_failed();

/// Calls `body` in a child of its own with its 1st, 2nd, 3rd ... allocation failing, up to the first run in which none
/// failed. `judge(nth, result)` sees every run but that last, whose result goes to `judge_success`. Gives the number of
/// failing runs. `body` installs the handler, if it is to be tested.
template <typename BODY, typename JUDGE, typename JUDGE_SUCCESS>
long for_every_failing_allocation(BODY body, JUDGE judge, JUDGE_SUCCESS judge_success) {
    for (long nth = 1;; ++nth) {
        forget_failed_allocation();
        const child_result result = run_in_child([&] {
            fail_from_allocation(nth);
            body();
            fail_from_allocation(0);
        });
        if (!allocation_has_failed()) {
            judge_success(result);
            return nth - 1;
        }
        judge(nth, result);
    }
}

#endif
