# What a host finds once the library is installed: the CMake package
# (find_package(QVConsumer)), the pkg-config file (qvconsumer.pc), and the
# Debian package that cpack -G DEB makes of both. Every destination is
# relative to the install prefix, so --prefix at install time moves it all.
include(CMakePackageConfigHelpers)
set(qvc_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/QVConsumer")
install(EXPORT QVConsumerTargets NAMESPACE QVConsumer:: DESTINATION "${qvc_cmake_dir}")
configure_package_config_file(cmake/QVConsumerConfig.cmake.in "${PROJECT_BINARY_DIR}/QVConsumerConfig.cmake"
                              INSTALL_DESTINATION "${qvc_cmake_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QVConsumerConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/QVConsumerConfig.cmake" "${PROJECT_BINARY_DIR}/QVConsumerConfigVersion.cmake"
        DESTINATION "${qvc_cmake_dir}")

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
install(FILES "${PROJECT_BINARY_DIR}/qvconsumer.pc" DESTINATION "${qvc_pc_dir}")

if(PROJECT_IS_TOP_LEVEL)
  set(CPACK_PACKAGE_NAME "qvconsumer")
  set(CPACK_PACKAGE_VENDOR "QVConsumer developers")
  set(CPACK_PACKAGE_CONTACT "QVConsumer developers <qvconsumer@localhost>")
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Client library for a consumer-loyalty and offers service")
  set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION "libdevel")
  # The library packages come from dpkg-shlibdeps; the headers need the
  # development packages of what the public headers include.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  string(JOIN ", " CPACK_DEBIAN_PACKAGE_DEPENDS
         "nlohmann-json3-dev (>= ${QVC_NLOHMANN_JSON_MIN})"
         "libsimdjson-dev (>= ${QVC_SIMDJSON_MIN})"
         "libcurl4-openssl-dev (>= ${QVC_CURL_MIN}) | libcurl-dev")
  include(CPack)
endif()
