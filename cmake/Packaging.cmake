# The .deb and the .rpm that ./scripts/package makes with CPack.

set(CPACK_PACKAGE_NAME vekssdprov)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "vekssdprov maintainers <maintainers@vekssdprov.example>")
set(CPACK_PACKAGE_VENDOR "vekssdprov")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "CIM provider for the wear of solid-state disks")
set(CPACK_PACKAGE_DESCRIPTION
"A library that a CIM object manager such as sfcb or OpenPegasus loads by the
CMPI interface. It finds the SATA and NVMe SSDs of a point-of-sale computer,
publishes how much of their rated life is used, and sends an indication when
a drive passes a threshold.
.
The command ssdlife shows the same without an object manager, also for
simulated machines.")
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/StripComments.cmake")
set(CPACK_SET_DESTDIR ON)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_CHECKSUM "")
set(packaging "${PROJECT_SOURCE_DIR}/packaging")

# ---- .deb

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "curl, sblim-wbemcli")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
file(WRITE "${PROJECT_BINARY_DIR}/packaging/conffiles"
  "/etc/ssddrv/log.conf\n/etc/ssddrv/ssddrv.ini\n")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  "${PROJECT_BINARY_DIR}/packaging/conffiles"
  "${packaging}/debian/triggers"
  "${packaging}/debian/postinst" "${packaging}/debian/prerm" "${packaging}/debian/postrm")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)

# ---- .rpm

set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_RELEASE 1)
set(CPACK_RPM_PACKAGE_LICENSE "None granted")
set(CPACK_RPM_PACKAGE_GROUP "System Environment/Daemons")
set(CPACK_RPM_PACKAGE_AUTOREQ ON)
string(REPLACE "\n.\n" "\n\n" CPACK_RPM_PACKAGE_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION}")
set(CPACK_RPM_POST_INSTALL_SCRIPT_FILE "${packaging}/rpm/post")
set(CPACK_RPM_PRE_UNINSTALL_SCRIPT_FILE "${packaging}/rpm/preun")
set(CPACK_RPM_POST_UNINSTALL_SCRIPT_FILE "${packaging}/rpm/postun")
set(CPACK_RPM_USER_FILELIST
  "%config(noreplace) /etc/ssddrv/log.conf" "%config(noreplace) /etc/ssddrv/ssddrv.ini")
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
  /etc "${CMAKE_INSTALL_FULL_SBINDIR}" "${CMAKE_INSTALL_PREFIX}/lib/tmpfiles.d"
  "${CMAKE_INSTALL_FULL_LIBDIR}"
  "${CMAKE_INSTALL_FULL_DATADIR}" "${CMAKE_INSTALL_FULL_DATADIR}/doc"
  "${CMAKE_INSTALL_FULL_DATADIR}/bash-completion"
  "${CMAKE_INSTALL_FULL_DATADIR}/bash-completion/completions"
  "${CMAKE_INSTALL_FULL_MANDIR}" "${CMAKE_INSTALL_FULL_MANDIR}/man5"
  "${CMAKE_INSTALL_FULL_MANDIR}/man7" "${CMAKE_INSTALL_FULL_MANDIR}/man8")
set(CPACK_RPM_SPEC_MORE_DEFINE
"%define _build_id_links none
%define use_source_date_epoch_as_buildtime 1
%define clamp_mtime_to_source_date_epoch 1
%define _buildhost reproducible
%define packager ${CPACK_PACKAGE_CONTACT}")

include(CPack)
