# -DMODFORGE_SANITIZE=ON builds everything with AddressSanitizer and UndefinedBehaviorSanitizer.
option(MODFORGE_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
if(MODFORGE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
