include(GenerateExportHeader)

# What the libraries' users include from the source tree: a folder holding
# links to QVConsumer/, platform/ and testkit/ only, so that a host that adds
# this project finds the headers under their installed names and nothing else
# of the source tree.
set(QVC_BUILD_INCLUDEDIR "${PROJECT_BINARY_DIR}/include")
file(MAKE_DIRECTORY "${QVC_BUILD_INCLUDEDIR}")
foreach(folder QVConsumer platform testkit)
  file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${folder}" "${QVC_BUILD_INCLUDEDIR}/${folder}" SYMBOLIC)
endforeach()

# qvc_install_library(TARGET FOLDER HEADER...): installs a library: the shared
# library in the runtime package; its link name, static archive and headers
# (under include/QVConsumer/FOLDER) in the development package. The shared
# library finds its siblings in its own folder (RUNPATH $ORIGIN), so a host
# that links only one of them still starts.
function(qvc_install_library target folder)
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
  if(QVC_INSTALL)
    install(TARGETS ${target} EXPORT QVConsumerTargets
            RUNTIME COMPONENT runtime
            LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
            ARCHIVE COMPONENT dev)
    install(FILES ${ARGN} DESTINATION "${QVC_INSTALL_INCLUDEDIR}/${folder}" COMPONENT dev)
  endif()
endfunction()

# qvc_library(TARGET FOLDER): what the two installed libraries share. Their
# sources and headers are the .cpp and .h files of FOLDER; a shared build
# exports only the declarations marked with the generated <TARGET>Export.h
# macro, and of those only what cmake/QVConsumer.map names. Headers install
# under <prefix>/include/QVConsumer/FOLDER, so that the "FOLDER/Name.h"
# include lines work the same in the source tree and installed.
function(qvc_library target folder)
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.cpp")
  file(GLOB headers CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.h")
  add_library(${target} ${sources})
  add_library(QVConsumer::${target} ALIAS ${target})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${QVC_BUILD_INCLUDEDIR}>
    $<BUILD_INTERFACE:${QVC_GENERATED_INCLUDEDIR}>
    $<INSTALL_INTERFACE:${QVC_INSTALL_INCLUDEDIR}>)
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:qvc_build_flags>)
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "SHARED_LIBRARY")
    set(exports "${PROJECT_SOURCE_DIR}/cmake/QVConsumer.map")
    target_link_options(${target} PRIVATE "LINKER:--version-script=${exports}")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${exports}")
  endif()
  # nlohmann/json is in every source file and costs most of each compile.
  target_precompile_headers(${target} PRIVATE <nlohmann/json.hpp>)

  set(export_header "${QVC_GENERATED_INCLUDEDIR}/${folder}/${target}Export.h")
  generate_export_header(${target} EXPORT_FILE_NAME "${export_header}")
  qvc_install_library(${target} ${folder} ${headers} "${export_header}")
endfunction()
