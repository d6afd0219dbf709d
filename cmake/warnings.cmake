# The warning set of every target of this project; a warning is an error.
add_library(modforge_warnings INTERFACE)
target_compile_options(modforge_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
