# What `cmake --install` puts in place, and the Debian package that CPack makes of it
# (tools/make-deb): the tool, its manual page and its bash completion. No test or benchmark
# binary has an install rule, so none is installed or packaged.
include(GNUInstallDirs)

set(QOR_PACKAGE_MAINTAINER "qorddsping developers <qorddsping@example.org>"
    CACHE STRING "Maintainer of the Debian package, in its control file and change log")

install(TARGETS qorddsping RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# Manual pages are installed compressed, without a name or a time stamp in the gzip header.
set(QOR_MAN_PAGE_GZ ${CMAKE_BINARY_DIR}/qorddsping.1.gz)
add_custom_command(OUTPUT ${QOR_MAN_PAGE_GZ}
    COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/doc/qorddsping.1 > ${QOR_MAN_PAGE_GZ}
    DEPENDS ${PROJECT_SOURCE_DIR}/doc/qorddsping.1
    COMMENT "Compressing the manual page")
add_custom_target(qorddsping_man_page ALL DEPENDS ${QOR_MAN_PAGE_GZ})
install(FILES ${QOR_MAN_PAGE_GZ} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# The package's change log, stamped with the project's version.
configure_file(${PROJECT_SOURCE_DIR}/packaging/changelog.in ${CMAKE_BINARY_DIR}/changelog @ONLY)
set(QOR_CHANGELOG_GZ ${CMAKE_BINARY_DIR}/changelog.gz)
add_custom_command(OUTPUT ${QOR_CHANGELOG_GZ}
    COMMAND gzip -9nc ${CMAKE_BINARY_DIR}/changelog > ${QOR_CHANGELOG_GZ}
    DEPENDS ${CMAKE_BINARY_DIR}/changelog
    COMMENT "Compressing the change log")
add_custom_target(qorddsping_changelog ALL DEPENDS ${QOR_CHANGELOG_GZ})
install(FILES ${QOR_CHANGELOG_GZ} DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(FILES ${PROJECT_SOURCE_DIR}/completion/qorddsping
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# The Debian package. Its version is the project's; its dependencies are what the binary links,
# found by dpkg-shlibdeps: the Fast DDS runtime libraries, never their -dev packages.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qorddsping)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${QOR_PACKAGE_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "DDS connectivity checker with numbered ping samples")
string(CONCAT CPACK_PACKAGE_DESCRIPTION
    "qorddsping joins a DDS domain and either publishes numbered ping samples or\n"
    "subscribes to them and reports what arrives: every issue number, gaps in the\n"
    "numbering, publishers that appear or are lost, liveliness changes, deadline\n"
    "misses, QoS incompatibilities and timeouts. It is built on Fast DDS and meets\n"
    "other DDS implementations over RTPS.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_INSTALL_DIRECTORY qorddsping)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
