// Outputs and inputs that are no plain files, or the same file: as docs/reliability.md says.
#include <gmock/gmock.h>

#include <sys/stat.h>

#include <filesystem>
#include <future>

#include "cases/run_modforge.h"

namespace {

namespace fs = std::filesystem;
using cases::banner;
using support::run_result;
using words = std::vector<std::string>;

const words modforge = {MODFORGE_PROGRAM, "-q", "-e=names", "app.out"};
const words velmdump = {VELMDUMP_PROGRAM, "convert", "given.vlm"};

class SpecialFiles : public testing::Test, public cases::workshop {
protected:
    SpecialFiles() {
        furnish();
        EXPECT_EQ(start(modforge, "-o=given.vlm").status, 0);
        module_ = read("given.vlm");
    }

    void furnish() const {
        write("app.out", cases::small_image().data());
        write("names", "_main");
    }

    run_result start(words command, const std::string& last, std::size_t file_bytes = 0) const {
        command.push_back(last);
        return support::run_program(command, {.directory = path("."), .file_bytes = file_bytes});
    }
    /// What a program writes when `name` is its output.
    run_result make(const words& program, const std::string& name, std::size_t file_bytes = 0) const {
        return start(program, (&program == &modforge ? "-o=" : "--output=") + name, file_bytes);
    }

    support::bytes module_;
};

TEST_F(SpecialFiles, AreWrittenThrough) {
    for (const words* program : {&modforge, &velmdump}) {
        SCOPED_TRACE((*program)[0]);
        write("old", "something that was there");
        fs::create_symlink("old", path("link"));
        fs::create_symlink("fresh", path("dangling"));
        fs::create_hard_link(path("old"), path("hard"));
        for (const char* name : {"link", "dangling", "hard", "/dev/null"})
            EXPECT_EQ(make(*program, name).status, 0) << name;
        EXPECT_TRUE(fs::is_symlink(path("link")) && fs::is_symlink(path("dangling")));
        EXPECT_TRUE(fs::is_character_file("/dev/null"));
        EXPECT_TRUE(fs::equivalent(path("old"), path("hard")));
        EXPECT_TRUE(read("old") == module_ && read("fresh") == module_);

        ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
        auto reader = std::async(std::launch::async, [&] { return read("pipe"); });
        EXPECT_EQ(make(*program, "pipe").status, 0);
        EXPECT_TRUE(reader.get() == module_);
        EXPECT_TRUE(fs::is_fifo(path("pipe")));
        for (const char* name : {"old", "fresh", "link", "dangling", "hard", "pipe"})
            fs::remove(path(name));
    }
}

TEST_F(SpecialFiles, StayWhenTheWriteFails) {
    write("old", "");
    fs::create_symlink("old", path("link"));
    fs::create_symlink("/dev/full", path("full"));
    for (const words* program : {&modforge, &velmdump}) {
        const int status = program == &modforge ? 1 : 2;
        const std::string says = program == &modforge ? "ERROR: Cannot write to file " : "velmdump: cannot write ";
        for (const char* name : {"link", "full"}) {
            const run_result run = make(*program, name, 60);
            EXPECT_EQ(run.status, status);
            EXPECT_THAT(run.err, testing::StartsWith(says + name));
            EXPECT_TRUE(fs::is_symlink(path(name))) << name;
        }
    }
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
    // Of a plain file, velmdump leaves nothing, and modforge what it had written.
    EXPECT_EQ(make(velmdump, "new", 60).status, 2);
    EXPECT_FALSE(has("new"));
    EXPECT_EQ(make(modforge, "new", 60).status, 1);
    EXPECT_EQ(read("new").size(), 60U);
}

TEST_F(SpecialFiles, AnOutputThatIsAnInput) {
    for (const char* name : {"app.out", "./app.out", "link", "hard", "names"}) {
        SCOPED_TRACE(name);
        furnish();
        fs::create_symlink("app.out", path("link"));
        fs::create_hard_link(path("app.out"), path("hard"));
        const run_result run = make(modforge, name);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, std::string("WARNING: Output file ") + name +
                               (name == std::string("names") ? " is an entries file\n" : " is the input file\n"));
        EXPECT_TRUE(read(name) == module_);
        fs::remove(path("link"));
        fs::remove(path("hard"));
    }
    fs::create_symlink("given.vlm", path("link"));
    for (const char* name : {"given.vlm", "./given.vlm", "link"}) {
        const run_result run = make(velmdump, name);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err, std::string("velmdump: cannot write ") + name + ": it is an input\n");
    }
    EXPECT_TRUE(read("given.vlm") == module_);
}

TEST_F(SpecialFiles, WhatCannotBeReadOrMadeIsTold) {
    fs::create_directory(path("folder"));
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    std::string entries;
    for (int i = 0; i < 250'000; ++i)
        entries += "a # of b c\n";
    write("many", support::to_bytes(entries));
    write("more", support::to_bytes(" d"));
    const struct {
        words command;
        int status;
        std::string err;
    } rows[] = {
        {{VELMDUMP_PROGRAM, "verify", "given.vlm", "app.out", "-e=many"}, 1, ""},
        {{COFFDUMP_PROGRAM, "check", "app.out", "-e", "many", "more"},
         2,
         "coffdump: more: more than 250000 entries, which is more than is looked at\n"},
        {{VELMDUMP_PROGRAM, "verify", "given.vlm", "app.out", "-e=many", "-e=more"},
         2,
         "velmdump: more: more than 250000 entries, which is more than is looked at\n"},
        {{MODFORGE_PROGRAM, "-o=folder", "app.out"}, 1, "ERROR: Unable to open file folder\n"},
        {{MODFORGE_PROGRAM, "-o=/proc/new", "app.out"}, 1, "ERROR: Unable to open file /proc/new\n"},
        {{VELMDUMP_PROGRAM, "map", "given.vlm", "-o", "folder"}, 2, "velmdump: cannot write folder: Is a directory\n"},
        {{VELMDUMP_PROGRAM, "map", "given.vlm", "-o", "/proc/new"},
         2,
         "velmdump: cannot write /proc/new: No such file or directory\n"},
        {{MODFORGE_PROGRAM, "-e=folder", "app.out"}, 1, "ERROR: Unable to read entries file folder\n"},
        {{MODFORGE_PROGRAM, "folder"}, 1, ">>   error: folder: cannot be read: Is a directory\n"},
        {{MODFORGE_PROGRAM, "/dev/null"}, 1, ">>   error: Failed to read file and/or section headers\n"},
        {{MODFORGE_PROGRAM, "/dev/zero"}, 1, ">> fatal error: this application only supports COFF version 2\n"},
        {{VELMDUMP_PROGRAM, "check", "folder"}, 2, "velmdump: cannot read folder: Is a directory\n"},
        {{VELMDUMP_PROGRAM, "check", "/dev/null"}, 1, "velmdump: /dev/null: not a VELM module: it is empty\n"},
        {{COFFDUMP_PROGRAM, "folder"}, 2, "coffdump: cannot read folder: Is a directory\n"},
        {{COFFDUMP_PROGRAM, "/dev/null"}, 1, "coffdump: /dev/null: Failed to read file and/or section headers\n"},
    };
    for (const auto& row : rows) {
        const run_result run = support::run_program(row.command, {.directory = path(".")});
        EXPECT_EQ(run.status, row.status) << row.command[1];
        EXPECT_EQ(run.err, row.err);
    }
    // A pipe as input: the converter reads in any order and refuses it, companions take a copy.
    for (const words& command : {words{MODFORGE_PROGRAM}, {COFFDUMP_PROGRAM, "--sections"}}) {
        auto writer = std::async(std::launch::async, [&] { write("pipe", read("app.out")); });
        const run_result run = start(command, "pipe");
        EXPECT_EQ(run.status, command.size() == 1 ? 1 : 0);
        EXPECT_EQ(run.err, command.size() == 1 ? ">>   error: pipe: cannot be read in any order: Illegal seek\n" : "");
        EXPECT_TRUE(fs::is_fifo(path("pipe")));
        try {
            writer.get();
        } catch (const std::system_error&) {  // nobody read it
        }
    }
}

// A file that is opened takes the place of a stream that is closed: nothing may be printed into it, or pass for printed.
TEST_F(SpecialFiles, StandardStreamsMayBeClosed) {
    for (int closed = 1; closed < 8; ++closed) {
        const auto run = [&](const words& command) {
            words shell = {"/bin/sh", "-c", "exec \"$@\""};
            for (int stream = 0; stream < 3; ++stream)
                shell[2] += (closed >> stream & 1) != 0 ? " " + std::to_string(stream) + ">&-" : "";
            shell.emplace_back("sh");
            shell.insert(shell.end(), command.begin(), command.end());
            return support::run_program(shell, {.directory = path(".")}).status;
        };
        SCOPED_TRACE(closed);
        for (const words& command : {words{MODFORGE_PROGRAM, "-e=names", "-q", "-o=new", "app.out"},
                                     {VELMDUMP_PROGRAM, "convert", "given.vlm", "-o", "new"}}) {
            EXPECT_EQ(run(command), 0);
            EXPECT_TRUE(read("new") == module_);
        }
        const int printed = (closed & 2) != 0 ? 2 : 0;
        EXPECT_EQ(run({COFFDUMP_PROGRAM, "app.out"}), printed);
        EXPECT_EQ(run({COFFDUMP_PROGRAM, "/dev/fd/999"}), 2);
        EXPECT_EQ(run({VELMDUMP_PROGRAM, "convert", "given.vlm", "-o", "-"}), printed);
    }
}

}  // namespace
