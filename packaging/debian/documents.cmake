# Run by CPack when it has gathered the files of the package.
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/documents ${CPACK_TEMPORARY_INSTALL_DIRECTORY}
    ${CPACK_PACKAGE_CONTACT} COMMAND_ERROR_IS_FATAL ANY)
