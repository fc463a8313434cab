# `cmake --install BUILD --prefix /usr`: the tree that the units and web servers' configurations in packaging/ expect.
# Those are the administrator's choice and are not installed. The folder below keeps the build's shape, in which
# programs, libraries, module and texts find each other.
set(home lib/currentconn)
install(TARGETS currentconn currentconnd RUNTIME DESTINATION ${home}/bin)
install(TARGETS zevowebapi zevosdk zevocgi LIBRARY DESTINATION ${home}/lib)
install(TARGETS connection_module LIBRARY DESTINATION ${home}/modules)
install(DIRECTORY texts/ DESTINATION ${home}/share/currentconn/texts FILES_MATCHING PATTERN *.json)
install(DIRECTORY ${CMAKE_BINARY_DIR}/page/ DESTINATION share/currentconn/page)
install(DIRECTORY platform/include/zevo DESTINATION include/currentconn FILES_MATCHING PATTERN *.h)
install(FILES docs/currentconn.1 DESTINATION share/man/man1)
install(FILES packaging/currentconn.bash DESTINATION share/bash-completion/completions RENAME currentconn)
install(CODE "
  file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
  file(CREATE_LINK ../${home}/bin/currentconn \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/currentconn\" SYMBOLIC)")
