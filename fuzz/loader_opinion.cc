// The loader's own check, which it makes before it asks a target for anything.
#include "loader_opinion.h"

#include "velm_loader.h"

const char* loader_refusal(const std::vector<std::uint8_t>& module) {
    velm_module opened;
    const velm_status status = velm_open(&opened, module.data(), static_cast<std::uint32_t>(module.size()));
    return status == VELM_OK ? nullptr : velm_status_name(status);
}
