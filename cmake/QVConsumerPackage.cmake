# The Debian packages (cpack -G DEB), one per install component. Each package
# carries Debian's copyright file (the licence, pointing at Debian's copy of
# its text) and a changelog, compressed as Debian wants it.
set(qvc_contact "QVConsumer developers <qvconsumer@example.org>")
install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)
set(qvc_package_doc "${PROJECT_BINARY_DIR}/package-doc")
configure_file(cmake/copyright.in "${qvc_package_doc}/copyright" @ONLY)
configure_file(cmake/changelog.in "${qvc_package_doc}/changelog" @ONLY)
find_program(QVC_GZIP gzip REQUIRED)
execute_process(COMMAND "${QVC_GZIP}" -9nf "${qvc_package_doc}/changelog" COMMAND_ERROR_IS_FATAL ANY)

# qvc_package(COMPONENT NAME SUMMARY): the package made of COMPONENT.
function(qvc_package component name summary)
  string(TOUPPER "${component}" upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME "${name}" PARENT_SCOPE)
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}" PARENT_SCOPE)
  install(FILES "${qvc_package_doc}/copyright" "${qvc_package_doc}/changelog.gz"
          DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/${name}" COMPONENT ${component})
endfunction()
set(qvc_summary "Client library for a consumer-loyalty and offers service")
qvc_package(runtime libqvconsumer${PROJECT_VERSION_MAJOR} "QVConsumer shared libraries and simulation file")
qvc_package(dev libqvconsumer-dev "QVConsumer headers, CMake and pkg-config files")
qvc_package(tools qvconsumer-tools "QVConsumer command-line tool and reference service")

set(CPACK_PACKAGE_NAME "qvconsumer")
set(CPACK_PACKAGE_VENDOR "QVConsumer developers")
set(CPACK_PACKAGE_CONTACT "${qvc_contact}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${qvc_summary}")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION "libs")
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION "libdevel")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION "utils")
# The packages of the libraries this one links come from dpkg-shlibdeps; the
# runtime package declares what its own libraries provide (shlibs) and has
# ldconfig run by a trigger. The headers need the development packages of what the public
# headers include.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tools link our own libraries, which are in the runtime package (a
# dependency of the tools package): dpkg-shlibdeps finds them in the build.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/QVConsumer" "${PROJECT_BINARY_DIR}/platform")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/triggers")
string(JOIN ", " CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
       "nlohmann-json3-dev (>= ${QVC_NLOHMANN_JSON_MIN})"
       "libsimdjson-dev (>= ${QVC_SIMDJSON_MIN})"
       "libcurl4-openssl-dev (>= ${QVC_CURL_MIN}) | libcurl-dev")
include(CPack)
