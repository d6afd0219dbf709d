// Uses the class library as a program of its own would, one part a run: containers, messages, a file that is changed.
#include <cstdio>
#include <cstring>

#include "coff/coff_file.h"
#include "containers/shash.h"
#include "msg/allocation.h"
#include "msg/user_msg.h"

namespace {

/// At least two blocks of nodes, the sorted table, and the stack of the sort.
int use_list() {
    static SLIST global;  // destroyed at the end of the run, whatever has become of it
    static char items[200];
    global.set_cmp_func([](const void* a, const void* b) { return a < b ? -1 : a > b ? 1 : 0; });
    for (char& item : items)
        global.prepend(&item);
    global.sort();
    SLIST copy;
    copy.copy(&global);
    return copy.find(&items[7]) ? 0 : 3;
}

/// Buckets, entries, nodes, three sorted tables.
int use_table() {
    static SHASH global(SHASH::UINT32_hash, SHASH::UINT32_cmp, 3);
    for (std::uint32_t key = 0; key < 100; ++key)
        global.add(key, nullptr);
    return global.find(0U) && global.find(1U) && global.find(2U) ? 0 : 3;
}

int use_scopes() {
    const allocation_scope outer("ERROR: Unable to allocate storage for outer\n");
    {
        const allocation_scope inner("ERROR: Unable to allocate storage for inner\n");
        delete new std::string(100, 'x');
    }
    delete new std::string(200, 'x');
    return 0;
}

int change_file() {
    COFF_FILE file(true);
    if (file.read("app.out", false) != 0)
        return 1;
    file.remove_coff_debug();
    file.add_string("added");
    file.delete_section(file.get_section(".bss"));
    return file.write("/dev/null") == 0 ? 0 : 1;
}

}  // namespace

int main(int, char** argv) {
    install_allocation_handler();
    switch (*argv[1]) {
    case 'l':
        return use_list();
    case 't':
        return use_table();
    case 's':
        return use_scopes();
    case 'd':
        UMSG.die(std::string(100, 'p').c_str(), "fault");  // too long for a string that needs no memory
    default:
        return change_file();
    }
}
