# The packages, for CPack. Relations.cmake finds the libraries that the binaries need. This file has the
# dependencies that the binaries do not show.

# A dependency "NAME (= own)" means the version of the packages, which Relations.cmake knows.
# kelvo_package(NAME SUMMARY TEXT [DEPENDS ...] [RECOMMENDS ...] [SUGGESTS ...] [SCRIPTS ...])
function(kelvo_package name summary text)
    cmake_parse_arguments(PARSE_ARGV 3 arg "" "" "DEPENDS;RECOMMENDS;SUGGESTS;SCRIPTS")
    install(FILES "${CMAKE_CURRENT_SOURCE_DIR}/copyright" DESTINATION share/doc/${name} COMPONENT ${name})
    string(TOUPPER "${name}" upper)
    set(variable "CPACK_DEBIAN_${upper}")
    set(${variable}_PACKAGE_NAME "${name}" PARENT_SCOPE)
    set(${variable}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
    foreach(relation IN ITEMS DEPENDS RECOMMENDS SUGGESTS)
        list(JOIN arg_${relation} ", " packages)
        set(${variable}_PACKAGE_${relation} "${packages}" PARENT_SCOPE)
    endforeach()
    list(TRANSFORM arg_SCRIPTS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/${name}/")
    set(${variable}_PACKAGE_CONTROL_EXTRA "${arg_SCRIPTS}" PARENT_SCOPE)
    set(CPACK_COMPONENTS_ALL "${CPACK_COMPONENTS_ALL};${name}" PARENT_SCOPE)
endfunction()

set(CPACK_COMPONENTS_ALL "")
if(libkesdk IN_LIST packaged)
    kelvo_package(libkesdk "client library of the KELVO farm-data service"
        "Transfers files between a console and the service over slow links that drop. A file that\nit reports as sent is stored; a file that it reports as received is complete."
        RECOMMENDS ca-certificates)
endif()
if(libconsolehost IN_LIST packaged)
    kelvo_package(libconsolehost "host framework of KELVO guidance consoles"
        "Windows, widgets, settings and unpacking for the plug-ins of a console.")
endif()
if(kelvo-plugin IN_LIST packaged)
    kelvo_package(kelvo-plugin "KELVO plug-in for guidance consoles"
        "Exchanges prescription maps, guidance lines and job reports between the console in a\ntractor cab and a farm-data service.")
endif()
if(kelvo-console IN_LIST packaged)
    kelvo_package(kelvo-console "guidance console for a PC, with or without a window"
        "Loads the KELVO plug-in, gives it positions and shows its screens. Without a window, it\ntakes commands."
        RECOMMENDS kelvo-plugin fonts-dejavu-core SUGGESTS kelvo-keyboard gpsd)
endif()
if(kelvo-console IN_LIST packaged)
    kelvo_package(kelvo-badlink "simulated bad rural link"
        "A proxy between a client and a service. It delays, slows, stalls, cuts, resets and drops\nconnections, as a weak cell does. Scenarios describe the faults."
        DEPENDS "python3 (>= 3.11)")
    set(CPACK_DEBIAN_KELVO-BADLINK_PACKAGE_ARCHITECTURE all)
endif()
if(kelvo-keyboard IN_LIST packaged)
    kelvo_package(kelvo-keyboard "on-screen keyboard of the KELVO console"
        "Shows Qt Virtual Keyboard in the console's window. Qt Virtual Keyboard has the licence\nGPL 3."
        DEPENDS qtvirtualkeyboard-plugin qml-module-qtquick-virtualkeyboard qml-module-qtquick2
            qml-module-qtquick-window2 qml-module-qtquick-layouts qml-module-qt-labs-folderlistmodel
        RECOMMENDS kelvo-console)
endif()
if(kelvo-service IN_LIST packaged)
    kelvo_package(kelvo-service "KELVO farm-data service"
        "Stores the files that guidance consoles and farm offices exchange. Includes its command\nline kelvoctl."
        DEPENDS adduser RECOMMENDS kelvo-service-postgresql SUGGESTS kelvo-office haproxy postgresql SCRIPTS postinst prerm postrm conffiles)
    kelvo_package(kelvo-office "farm office's page of the KELVO farm-data service"
        "The service serves this page to browsers: the office sends files, follows the consoles\nand reads the job reports."
        RECOMMENDS kelvo-service SCRIPTS postinst postrm)
    set(CPACK_DEBIAN_KELVO-OFFICE_PACKAGE_ARCHITECTURE all)
endif()
if(kelvo-service-postgresql IN_LIST packaged)
    kelvo_package(kelvo-service-postgresql "PostgreSQL for the KELVO farm-data service"
        "With this module, several instances of the service can share a database."
        DEPENDS "kelvo-service (= own)")
endif()

if(kelvo-service-tools IN_LIST packaged)
    kelvo_package(kelvo-service-tools "load tests of the KELVO farm-data service"
        "kelvo-herd simulates thousands of consoles. It measures a service, for example to choose a\nmachine, and checks that the service loses nothing.")
endif()

# Debian's name for the compiler's target. Debian's own tools know only the building machine.
set(architecture_x86_64-linux-gnu amd64)
set(architecture_aarch64-linux-gnu arm64)
set(architecture_arm-linux-gnueabihf armhf)
execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -dumpmachine
    OUTPUT_VARIABLE machine OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR KELVO)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_CONTACT "KELVO developers <developers@kelvo.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR ON) # for the files in /etc
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "${architecture_${machine}}")
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE zstd) # a minute faster than xz, because most of the data is debug symbols
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_OBJCOPY_EXECUTABLE "${CMAKE_OBJCOPY}")
set(CPACK_READELF_EXECUTABLE "${CMAKE_READELF}")
set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_CURRENT_SOURCE_DIR}/Relations.cmake")
set(CPACK_KELVO_TREE "${PROJECT_SOURCE_DIR}")
set(CPACK_KELVO_BINARIES "${CMAKE_CURRENT_BINARY_DIR}/binaries.txt")
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
