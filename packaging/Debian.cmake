# The Debian packages that `cpack -G DEB` makes of the components.
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
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_COMPONENTS_ALL runtime development host tools)

# package(COMPONENT NAME SECTION DEPENDS SUMMARY DETAILS)
macro(package component name section depends summary details)
    string(TOUPPER ${component} COMPONENT)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_DEPENDS "${depends}")
    set(CPACK_DEBIAN_${COMPONENT}_DESCRIPTION "${summary}\n${details}")
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
endmacro()

# The release's date stands in CHANGELOG.md, behind its version.
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md date LIMIT_COUNT 1 REGEX "^## ")
string(REGEX REPLACE ".* " "" date "${date}")
execute_process(COMMAND date --utc --rfc-email --date "${date} 12:00" OUTPUT_VARIABLE VERANTI_DATE
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(debian/changelog.in changelog @ONLY)
compress(${CMAKE_CURRENT_BINARY_DIR}/changelog)

set(this "(= ${PROJECT_VERSION})")
set(library libcapi-veranti-service${VERANTI_SOVERSION})
package(runtime ${library} libs "veranti-host-platform ${this}"
        "client library of a television's terms-and-conditions service"
        "Applications learn from it what a user has to read and has agreed to,\n\
and record agreements. A small bus server toolkit stands beside it.")
package(development libcapi-veranti-service-dev libdevel
        "${library} ${this}, libjsoncpp-dev"
        "client library of a television's terms service - development files"
        "Headers for C and C++, a pkg-config file and a CMake package.")
package(host veranti-host-platform libs ""
        "log, configuration store and bus framework of a television, for hosts"
        "What the client library needs of a television, on a machine that is none.")
package(tools veranti-tools utils
        "${library} ${this}, adduser, default-dbus-system-bus | dbus-system-bus"
        "command and simulated terms-and-conditions service of a television"
        "The command veranti asks a terms service. The simulator is one, and\n\
starts when it is asked.")

set(scripts postinst prerm postrm)
foreach(component RUNTIME HOST)
    set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/triggers)
endforeach()
list(TRANSFORM scripts PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/debian/)
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA ${scripts})
include(CPack)
