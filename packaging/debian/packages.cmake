# The Debian packages, made by CPack: pimbsr, pimbsr-tools, and the debug symbols of each.
set(debian ${CMAKE_CURRENT_SOURCE_DIR}/debian)
set(revision 1 CACHE STRING "Of the packages of this version")

foreach(family "" 6)
  install(FILES ${debian}/PimBsr${family}.json DESTINATION /etc/pimbsr)
endforeach()
install(DIRECTORY DESTINATION /etc/pimbsr/on-change)
foreach(component agent tools)
  set(package pimbsr)
  if(component STREQUAL tools)
    set(package pimbsr-tools)
  endif()
  set(directory ${CMAKE_INSTALL_DATADIR}/doc/${package})
  install(FILES ${debian}/copyright DESTINATION ${directory} COMPONENT ${component})
  made_file(changelog.${component}.gz "sed s/@version@/${PROJECT_VERSION}-${revision}/ ${debian}/changelog | gzip -9n"
            ${directory} changelog.Debian.gz COMPONENT ${component} DEPENDS ${debian}/changelog)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL agent tools)
set(CPACK_PACKAGE_NAME pimbsr)
set(CPACK_PACKAGE_CONTACT "Maintainers of pimbsr <maintainers@example.org>")
set(CPACK_SET_DESTDIR ON)  # so that the units name the programs where they will be
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${revision})
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_BUILD_SOURCE_DIRS ${CMAKE_SOURCE_DIR})

set(CPACK_DEBIAN_AGENT_PACKAGE_NAME pimbsr)
set(CPACK_DEBIAN_AGENT_PACKAGE_DEPENDS "systemd | systemd-standalone-sysusers")
set(CPACK_DEBIAN_AGENT_PACKAGE_SUGGESTS "curl, jq, pimbsr-tools, prometheus")
set(CPACK_COMPONENT_AGENT_DESCRIPTION "PIM Bootstrap Router agent (RFC 5059)
Elects the Bootstrap Router of each scope zone, advertises this router as a
candidate RP, floods Bootstrap messages, and learns, ages and publishes the RP
set, for IPv4 and IPv6.")
set(CPACK_DEBIAN_AGENT_PACKAGE_CONTROL_EXTRA ${debian}/conffiles ${debian}/postinst ${debian}/prerm ${debian}/postrm)
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME pimbsr-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "graphviz, pimbsr")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "plans and labs for the PIM Bootstrap Router agent
pimbsr-sim plays a network of agents and what happens in it from a file, and
pimbsr-feeder is a PIM neighbor that floods Bootstrap messages, written by hand
or replayed from a capture.")
include(CPack)
