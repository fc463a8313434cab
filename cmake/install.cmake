# `cmake --install BUILD --prefix /usr`: the tree that the units and web servers' configurations in packaging/ expect.
# Those are the administrator's choice and are not installed. The directory below has the layout of the build, in which
# programs, libraries, module and texts find each other.
set(home lib/currentconn)
install(TARGETS currentconn currentconnd RUNTIME DESTINATION ${home}/bin)
install(TARGETS zevowebapi zevosdk zevocgi LIBRARY DESTINATION ${home}/lib)
install(TARGETS connection_module LIBRARY DESTINATION ${home}/modules)
install(DIRECTORY texts/ DESTINATION ${home}/share/currentconn/texts FILES_MATCHING PATTERN *.json)
install(DIRECTORY ${CMAKE_BINARY_DIR}/page/ DESTINATION share/currentconn/page)
# The contract: the headers for the module and its hosts. Those in platform/host are only for our own host.
foreach(subject account api_request api_response api_table cgi connections error error_trail export keyed_file local_account
    login_log read_notes session_file string_bundle string_list unicode web_utils)
  install(FILES platform/include/zevo/${subject}.h DESTINATION include/currentconn/zevo)
endforeach()
install(FILES docs/hosting.md DESTINATION share/doc/currentconn-dev)
install(DIRECTORY examples/maker DESTINATION share/doc/currentconn-dev/examples PATTERN .clang-format EXCLUDE)
foreach(file currentconn.pc currentconn-config.cmake)
  configure_file(packaging/${file}.in ${CMAKE_BINARY_DIR}/${file} @ONLY)
endforeach()
install(FILES ${CMAKE_BINARY_DIR}/currentconn.pc DESTINATION share/pkgconfig)
install(FILES ${CMAKE_BINARY_DIR}/currentconn-config.cmake DESTINATION share/cmake/currentconn)
# The configuration's own comments are its manual page.
file(READ packaging/currentconn.toml CURRENTCONN_CONFIGURATION)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS packaging/currentconn.toml)
configure_file(docs/currentconn.toml.5.in ${CMAKE_BINARY_DIR}/currentconn.toml.5 @ONLY)
install(FILES docs/currentconn.1 DESTINATION share/man/man1)
install(FILES ${CMAKE_BINARY_DIR}/currentconn.toml.5 DESTINATION share/man/man5)
install(FILES docs/currentconnd.8 DESTINATION share/man/man8)
# The services of a kick, from the table of services.
set(service_table ${PROJECT_SOURCE_DIR}/platform/host/service_table.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${service_table})
file(STRINGS ${service_table} KICKED_SERVICES REGEX "^ +{ZEVO_CURCONN_.*, nullptr},$")
list(TRANSFORM KICKED_SERVICES REPLACE "^[^{]*{[^{]*{\"([a-z]+)\".*$" "\\1")
list(JOIN KICKED_SERVICES " " KICKED_SERVICES)
foreach(shell bash fish zsh)
  configure_file(packaging/currentconn.${shell} ${CMAKE_BINARY_DIR}/completions/currentconn.${shell} @ONLY)
endforeach()
install(FILES ${CMAKE_BINARY_DIR}/completions/currentconn.bash DESTINATION share/bash-completion/completions RENAME currentconn)
install(FILES ${CMAKE_BINARY_DIR}/completions/currentconn.fish DESTINATION share/fish/vendor_completions.d)
install(FILES ${CMAKE_BINARY_DIR}/completions/currentconn.zsh DESTINATION share/zsh/vendor-completions RENAME _currentconn)
install(CODE "
  file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
  file(CREATE_LINK ../${home}/bin/currentconn \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/currentconn\" SYMBOLIC)")
