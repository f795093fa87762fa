# What is installed, and the packages made of it. Each width has a folder of its own with all that belongs to it, so
# that the program finds its module, the module the platform stand-in, and that its bundle, wherever the tree lies:
#   lib/kvtpicture/x64/{kvt,kvtpicture.so,libkvtplatform.so,Frameworks/}   and x86
#   bin/kvt -> the 64-bit program, which runs on any machine of this kind; bin/kvt32 -> the 32-bit one, which runs the
#   module as it ships, and needs the 32-bit C and C++ libraries
if(KVT_BITS EQUAL 32)
  set(width x86)
  set(program kvt32)
else()
  set(width x64)
  set(program kvt)
endif()
set(folder lib/kvtpicture/${width})
set_target_properties(kvt kvtplatform PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(ApplicationServices PROPERTIES INSTALL_RPATH "$ORIGIN/../..")
# The build folder has the same places. Otherwise the files there would be padded with empty ones, which stand for the
# current folder.
set_target_properties(kvt kvtpicture kvtplatform ApplicationServices PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
install(TARGETS kvt RUNTIME DESTINATION ${folder})
install(TARGETS kvtpicture kvtplatform LIBRARY DESTINATION ${folder})
install(TARGETS ApplicationServices LIBRARY DESTINATION ${folder}/Frameworks/ApplicationServices.framework)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/links)
file(CREATE_LINK ../${folder}/kvt ${CMAKE_BINARY_DIR}/links/${program} SYMBOLIC)
install(FILES ${CMAKE_BINARY_DIR}/links/${program} DESTINATION bin)

if(KVT_BITS EQUAL 64)
  set(texts ${CMAKE_BINARY_DIR}/texts)
  add_custom_command(OUTPUT ${texts}/kvt.1 ${texts}/kvt ${texts}/_kvt
    COMMAND ${CMAKE_COMMAND} -E make_directory ${texts}
    COMMAND kvt manual > ${texts}/kvt.1
    COMMAND kvt completion bash > ${texts}/kvt
    COMMAND kvt completion zsh > ${texts}/_kvt
    DEPENDS kvt kvtpicture VERBATIM)
  add_custom_target(texts ALL DEPENDS ${texts}/kvt.1 ${texts}/kvt ${texts}/_kvt)
  file(CREATE_LINK kvt ${CMAKE_BINARY_DIR}/links/completion SYMBOLIC)
  file(CREATE_LINK kvt.1 ${CMAKE_BINARY_DIR}/links/kvt32.1 SYMBOLIC)
  install(FILES ${texts}/kvt.1 ${CMAKE_BINARY_DIR}/links/kvt32.1 DESTINATION share/man/man1)
  install(FILES ${texts}/kvt DESTINATION share/bash-completion/completions)
  install(FILES ${CMAKE_BINARY_DIR}/links/completion DESTINATION share/bash-completion/completions RENAME kvt32)
  install(FILES ${texts}/_kvt DESTINATION share/zsh/site-functions)
  install(FILES README.md CHANGELOG.md LICENSE DESTINATION share/doc/kvtpicture)
  install(DIRECTORY docs/ DESTINATION share/doc/kvtpicture/docs)
endif()

set(CPACK_PACKAGE_NAME kvtpicture)
set(CPACK_PACKAGE_VENDOR "KVT Picture")
set(CPACK_PACKAGE_CONTACT "The authors of KVT Picture <authors@kvtpicture.invalid>") # an address is due, there is none
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "picture-processing plug-in module in both widths, and its command line")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_GENERATOR TGZ DEB)
set(CPACK_STRIP_FILES OFF) # a stripped module cannot be forced to an instruction-set level
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
# scripts/package knows the versions.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libstdc++6")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libc6-i386, lib32stdc++6")
include(CPack)
