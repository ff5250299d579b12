include(GenerateExportHeader)

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
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
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
  install(TARGETS ${target} EXPORT QVConsumerTargets)
  install(FILES ${headers} "${export_header}" DESTINATION "${QVC_INSTALL_INCLUDEDIR}/${folder}")
endfunction()
