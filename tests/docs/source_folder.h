// Where the pages lie that these tests read.
#ifndef MODFORGE_DOCS_SOURCE_FOLDER_H
#define MODFORGE_DOCS_SOURCE_FOLDER_H

#include <string>

inline const std::string source_folder = MODFORGE_SOURCE_DIR;

#endif
