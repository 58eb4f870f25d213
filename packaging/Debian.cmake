# The Debian packages that `cpack -G DEB` makes of the components; a set's build has the first two.
set(CPACK_PACKAGE_NAME veranti)
set(CPACK_PACKAGE_VENDOR "The Veranti developers")
set(CPACK_PACKAGE_CONTACT "The Veranti developers <developers@veranti.dev>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src
    ${PROJECT_BINARY_DIR}/platform)
foreach(library ${VERANTI_LOG_LIBRARY} ${VERANTI_STORE_LIBRARY} ${VERANTI_BUS_LIBRARY})
    cmake_path(GET library PARENT_PATH folder)  # a set's
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${folder})
endforeach()
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own

# package(COMPONENT NAME SECTION DEPENDS SUMMARY DETAILS CONTROL-FILE...)
macro(package component name section depends summary details)
    string(TOUPPER ${component} COMPONENT)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_DEPENDS "${depends}")
    set(CPACK_DEBIAN_${COMPONENT}_DESCRIPTION "${summary}\n${details}")
    set(control ${ARGN})
    list(TRANSFORM control PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/debian/)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_CONTROL_EXTRA ${control})
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
    if(VERANTI_MACHINE_STORE AND EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/lintian-${component})
        install(FILES debian/lintian-${component} RENAME ${name}
                DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${component})
    endif()
endmacro()

# The release's date stands in CHANGELOG.md, behind its version.
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md date LIMIT_COUNT 1 REGEX "^## ")
string(REGEX REPLACE ".* " "" date "${date}")
execute_process(COMMAND date --utc --rfc-email --date "${date} 12:00" OUTPUT_VARIABLE VERANTI_DATE
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(debian/changelog.in changelog @ONLY)
compress(${CMAKE_CURRENT_BINARY_DIR}/changelog)

set(library libcapi-veranti-service${VERANTI_SOVERSION})
set(at_least "(>= ${PROJECT_VERSION})")
set(platform "")
if(VERANTI_HOST_PLATFORM)
    set(platform "veranti-host-platform ${at_least}")
else()
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONFLICTS veranti-host-platform)  # a set has its own
endif()
package(runtime ${library} libs "${platform}"
        "client library of a television's terms-and-conditions service"
        "Applications learn from it what a user has to read and has agreed to,\n\
and record agreements. A small bus server toolkit stands beside it."
        triggers)
package(development libcapi-veranti-service-dev libdevel
        "${library} (= ${PROJECT_VERSION}), libjsoncpp-dev, pkg-config"
        "client library of a television's terms service - development files"
        "Headers for C and C++, a pkg-config file and a CMake package.")
if(VERANTI_HOST_PLATFORM)
    package(host veranti-host-platform libs ""
            "log, configuration store and bus framework of a television, for hosts"
            "What the client library needs of a television, on a machine that is none." triggers)
    package(tools veranti-tools utils "${library} ${at_least}, ${platform}, \
default-dbus-system-bus | dbus-system-bus, systemd | systemd-standalone-sysusers | systemd-sysusers, \
systemd | systemd-standalone-tmpfiles | systemd-tmpfiles"
            "command and simulated terms-and-conditions service of a television"
            "The command veranti asks a terms service. The simulator is one, and\n\
starts when it is asked." postinst prerm postrm)
endif()
include(CPack)
