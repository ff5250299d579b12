# What a host finds once the library is installed: the CMake package
# (find_package(QVConsumer)), the pkg-config file (qvconsumer.pc), and the
# Debian packages that cpack -G DEB makes of them. Every destination is
# relative to the install prefix, so --prefix at install time moves it all.
# Each file belongs to one component, and each component is one package:
# runtime (the shared libraries and the simulation file), dev (headers, link
# names, static libraries, CMake and pkg-config files) and tools (qvconsumer,
# qvconsumer-service).
include(CMakePackageConfigHelpers)
set(qvc_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/QVConsumer")
install(EXPORT QVConsumerTargets NAMESPACE QVConsumer:: DESTINATION "${qvc_cmake_dir}" COMPONENT dev)
configure_package_config_file(cmake/QVConsumerConfig.cmake.in "${PROJECT_BINARY_DIR}/QVConsumerConfig.cmake"
                              INSTALL_DESTINATION "${qvc_cmake_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QVConsumerConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/QVConsumerConfig.cmake" "${PROJECT_BINARY_DIR}/QVConsumerConfigVersion.cmake"
        DESTINATION "${qvc_cmake_dir}" COMPONENT dev)

# The .pc file names its prefix relative to its own folder (${pcfiledir}).
set(qvc_pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH qvc_pc_prefix_from_pcdir "${CMAKE_INSTALL_PREFIX}/${qvc_pc_dir}" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" qvc_pc_prefix_from_pcdir "${qvc_pc_prefix_from_pcdir}")
# What the libraries link privately; a host of the static libraries links it
# too, so it moves to the public fields (pkg-config --static would also ask
# for every static dependency of libcurl).
set(qvc_pc_requires "nlohmann_json >= ${QVC_NLOHMANN_JSON_MIN}, simdjson >= ${QVC_SIMDJSON_MIN}")
set(qvc_pc_requires_private "libcurl >= ${QVC_CURL_MIN}")
list(TRANSFORM CMAKE_DL_LIBS PREPEND "-l" OUTPUT_VARIABLE qvc_dl_flags)
string(JOIN " " qvc_pc_libs_private -pthread ${qvc_dl_flags})
set(qvc_pc_libs_static "")
if(NOT BUILD_SHARED_LIBS)
  string(APPEND qvc_pc_requires ", ${qvc_pc_requires_private}")
  set(qvc_pc_libs_static " ${qvc_pc_libs_private}")
  set(qvc_pc_requires_private "")
  set(qvc_pc_libs_private "")
endif()
configure_file(cmake/qvconsumer.pc.in "${PROJECT_BINARY_DIR}/qvconsumer.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qvconsumer.pc" DESTINATION "${qvc_pc_dir}" COMPONENT dev)

if(PROJECT_IS_TOP_LEVEL)
  include(cmake/QVConsumerPackage.cmake)
endif()
