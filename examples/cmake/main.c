/* A program with a module in its ROM. On the device a loader would get it; here it says how it looks. */
#include <stdio.h>

#include "blink.h"

int main(void) {
    printf("%lu words, the first one 0x%08lX\n", (unsigned long)blink_module_words, (unsigned long)blink_module[0]);
    return 0;
}
