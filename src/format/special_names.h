// Names that mean something by themselves.
#ifndef MODFORGE_FORMAT_SPECIAL_NAMES_H
#define MODFORGE_FORMAT_SPECIAL_NAMES_H

/// The symbol at which a loader calls the module.
inline constexpr char entry_symbol_name[] = "__DLStart";

/// Sections: the initial values of variables; an image that was added to the file; how those of debuggers begin.
inline constexpr char cinit_section_name[] = ".cinit";
inline constexpr char icode_section_name[] = ".icode";
inline constexpr char debug_section_prefix[] = ".debug_";

/// The entries that stand behind the user's as soon as there is an entries file.
inline constexpr const char* default_entries[] = {"-__DLModules", "-.bss"};

#endif
