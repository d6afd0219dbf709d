// File names: extensions and directories. Only "/" separates directories.
#ifndef MODFORGE_CONVERT_FILE_NAMES_H
#define MODFORGE_CONVERT_FILE_NAMES_H

/// Gives `name` the extension `ext` (with or without its dot) in place. An extension that is there is replaced when
/// `replace` is not 0 and kept otherwise; an empty `ext` removes it with its dot. The buffer must have room for the
/// name, a dot, `ext` and the terminator. Returns `name`.
char* fn_addext(char* name, const char* ext, int replace);

/// The part of `path` behind its last "/"; null when `path` is empty.
const char* fn_basename(const char* path);

#endif
