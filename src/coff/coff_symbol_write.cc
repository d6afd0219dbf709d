// A symbol on its way to another file, and into it.
#include <cstring>

#include "coff/coff_file.h"
#include "coff/coff_symbol.h"
#include "msg/user_msg.h"

/// Nothing of another file, which may end first, and nothing shared with another symbol, comes along.
void COFF_SYMBOL::move_to(COFF_FILE* file) {
    file_ = file;
    set_own_name(name_, std::strlen(name_));
    if (aux_)
        set_own_aux(*aux_);
}

/// The name back into the entry: in place, or through the string table that is being built.
void COFF_SYMBOL::encode_name() {
    const std::size_t length = std::strlen(name_);
    if (length > sizeof entry_.n_name) {
        // On purpose bytes 0 to 3 stay: they are zero in every symbol that was made or read with a long name.
        set_name_offset(entry_.n_name, file_->add_string(name_));
        return;
    }
    std::memset(entry_.n_name, 0, sizeof entry_.n_name);
    std::memcpy(entry_.n_name, name_, length);
}

void COFF_SYMBOL::write(std::FILE* fp) {
    if (std::fwrite(&entry_, sizeof entry_, 1, fp) != 1)
        end_fatally("failed to write symbol table");
    if (has_aux() && std::fwrite(aux_->bytes, aux_size, 1, fp) != 1)
        end_fatally("failed to write auxiliary entry");
}
