# What `cmake --install` puts in place. Nothing of it names the prefix, so that the whole can be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# In share/, where find_package looks whatever the project is built for; and good for any pointer size, because only
# programs are in it.
set(modforge_package_dir "${CMAKE_INSTALL_DATADIR}/cmake/modforge")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/modforgeConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
configure_file(cmake/package/modforgeConfig.cmake.in modforgeConfig.cmake COPYONLY)
install(EXPORT modforgeTargets NAMESPACE modforge:: DESTINATION "${modforge_package_dir}")
install(FILES
  "${PROJECT_BINARY_DIR}/modforgeConfig.cmake"
  "${PROJECT_BINARY_DIR}/modforgeConfigVersion.cmake"
  cmake/package/modforge_add_module.cmake
  cmake/package/modforge_make_module.cmake
  DESTINATION "${modforge_package_dir}")

install(FILES README.md packaging/copyright DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY docs/ DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs")
install(DIRECTORY examples/ DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples" USE_SOURCE_PERMISSIONS
  PATTERN build EXCLUDE)

if(EXISTS "${PROJECT_SOURCE_DIR}/man")
  file(GLOB pages CONFIGURE_DEPENDS man/*.[1-9])
  foreach(page IN LISTS pages)
    string(REGEX MATCH "[1-9]$" chapter "${page}")
    install(FILES "${page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man${chapter}")
  endforeach()
endif()
# Completions, where each shell looks for those of other packages; Debian's zsh has a place of its own.
set(zsh_place zsh/site-functions)
if(MODFORGE_DEBIAN_PACKAGE)
  set(zsh_place zsh/vendor-completions)
endif()
foreach(place bash:bash-completion/completions zsh:${zsh_place} fish:fish/vendor_completions.d)
  string(REPLACE ":" ";" place "${place}")
  list(GET place 0 shell)
  list(GET place 1 folder)
  if(EXISTS "${PROJECT_SOURCE_DIR}/completions/${shell}")
    install(DIRECTORY completions/${shell}/ DESTINATION "${CMAKE_INSTALL_DATADIR}/${folder}")
  endif()
endforeach()

# Debian wants these compressed, and without the time of the day in them.
if(MODFORGE_DEBIAN_PACKAGE)
  install(FILES packaging/changelog DESTINATION "${CMAKE_INSTALL_DOCDIR}" RENAME changelog.Debian)
  install(CODE "
    set(prefix \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
    file(GLOB files \"\${prefix}/${CMAKE_INSTALL_DOCDIR}/changelog.Debian\" \"\${prefix}/${CMAKE_INSTALL_MANDIR}/man?/*\")
    execute_process(COMMAND gzip -9nf \${files} COMMAND_ERROR_IS_FATAL ANY)")
endif()
