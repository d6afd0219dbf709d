// What a debugger would ask of a COFF file. A placeholder with the whole interface: a reader of richer debug information
// derives from it, so most answers are those of a file that holds none.
#ifndef MODFORGE_COFF_COFF_DEBUG_H
#define MODFORGE_COFF_COFF_DEBUG_H

#include <cstdint>
#include <cstdio>

#include "coff/psn.h"
#include "containers/slist.h"

class COFF_FILE;

class COFF_DEBUG {
public:
    /// A function of the program. Made and owned by the symbol table; the names live as long as it does.
    struct FUNCTION {
        std::uint32_t start = 0;  ///< address units
        std::uint32_t size = 0;   ///< as its symbol says
        std::int16_t scnum = 0;   ///< section number
        const char* name = "";
        const char* file = "";  ///< source file; null if no file precedes it in the symbol table
        std::uint32_t count = 0;
    };

    /// `file` is not owned and must outlive the object; null ends the run.
    explicit COFF_DEBUG(COFF_FILE* file);
    COFF_DEBUG(const COFF_DEBUG&) = delete;
    COFF_DEBUG& operator=(const COFF_DEBUG&) = delete;

    // The order of the virtual operations is fixed: new ones go to the end.
    virtual ~COFF_DEBUG();

    virtual bool condense(bool wanted, bool);
    virtual std::uint32_t code_coverage_update(std::uint32_t, std::uint32_t);
    virtual void code_coverage_dump(std::FILE*);

    /// The source position of an address, from the first section that knows one; the caller's to delete. Null if none.
    virtual PSN* get_source_psn(std::uint32_t address);

    /// Appends the functions (FUNCTION*, still the symbol table's) to `list`.
    virtual void get_functions(SLIST* list);

    virtual bool is_address_branch(std::uint32_t address);
    /// `list`, unchanged.
    virtual SLIST* get_callee_list(std::uint32_t address, std::int16_t scnum, SLIST* list);
    /// 0, also through `size` if that is not null.
    virtual std::uint32_t max_stack_size(std::uint32_t address, std::int16_t scnum, std::uint32_t* size);

private:
    COFF_FILE* file_;
};

#endif
