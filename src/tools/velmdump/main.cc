// velmdump: shows, checks and compares modules without a device.
#include "tools/common/tool_run.h"
#include "tools/velmdump/commands.h"

namespace {

struct registered_command {
    const char* name;
    const command& facts;
};

constexpr registered_command all_commands[] = {
#define COMMAND(name) {#name, name##_command},
#include "tools/velmdump/commands.def"
#undef COMMAND
};

int run(int argc, char** argv) {
    command_line line("velmdump", "Shows, checks and compares VELM modules, binary or text.",
                      "Exit status: 0 good (sound, nothing missing, the same), 1 faults (or missing, or different),\n"
                      "2 usage or input/output trouble.\n",
                      "  velmdump check app.vlm\n  velmdump show --help\n");
    line.require_command();
    std::function<int()> wanted;
    for (const registered_command& each : all_commands) {
        command_arguments arguments = line.add_command(each.name, each.facts.what, each.facts.examples);
        arguments.when_parsed([&wanted, work = each.facts.set_up(arguments)] { wanted = work; });
    }
    const int early = line.parse(argc, argv);
    return early >= 0 ? early : wanted();
}

}  // namespace

int main(int argc, char** argv) {
    begin_tool("velmdump");
    return end_tool(run(argc, argv));
}
