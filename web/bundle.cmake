# Bundles the page from its plain modules and styles:
#
#   cmake -DESBUILD=PROGRAM -DSOURCE=WEB_DIRECTORY -DTARGET=DIRECTORY -P bundle.cmake
#
# TARGET then contains index.html and, in assets/, all files that it names, each with the hash of its content in its
# name: browsers cache those permanently and revalidate only index.html.
cmake_minimum_required(VERSION 3.25)

# The directory is replaced completely, so that no file of an earlier page remains in it.
set(made "${TARGET}.new")
file(REMOVE_RECURSE "${made}")
file(MAKE_DIRECTORY "${made}/assets")
file(READ "${SOURCE}/index.html" html)

# keep(CONTENT_FILE STEM ENDING NAME): adds the file as an asset; NAME is set to its name in the page.
function(keep file stem ending name)
  file(SHA256 "${file}" hash)
  string(SUBSTRING "${hash}" 0 12 hash)
  file(RENAME "${file}" "${made}/assets/${stem}-${hash}.${ending}")
  set(${name} "assets/${stem}-${hash}.${ending}" PARENT_SCOPE)
endfunction()

function(minify entry output)
  execute_process(
    COMMAND "${ESBUILD}" "${entry}" --bundle --minify --charset=utf8 --format=esm --target=es2022,chrome111,firefox113,safari16.4
            --log-level=warning "--outfile=${output}"
    COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# All style sheets are joined in the order of the page.
string(REGEX MATCHALL "<link rel=\"stylesheet\" href=\"[^\"]+\">" sheets "${html}")
set(imports "")
foreach(sheet IN LISTS sheets)
  string(REGEX REPLACE ".*href=\"([^\"]+)\".*" "\\1" path "${sheet}")
  string(APPEND imports "@import \"${SOURCE}/${path}\";\n")
endforeach()
file(WRITE "${made}/all.css" "${imports}")
minify("${made}/all.css" "${made}/one.css")
file(REMOVE "${made}/all.css")
keep("${made}/one.css" page css name)
list(POP_FRONT sheets first)
string(REPLACE "${first}" "<link rel=\"stylesheet\" href=\"${name}\">" html "${html}")
foreach(sheet IN LISTS sheets)
  string(REPLACE "${sheet}" "" html "${html}")
endforeach()

# All other files that the page names: scripts with their imports, texts, the icon.
string(REGEX MATCHALL "(href|src)=\"[a-z_/]+[A-Za-z_-]*\\.(js|json|svg)\"" references "${html}")
foreach(reference IN LISTS references)
  string(REGEX REPLACE ".*=\"([^\"]+)\"" "\\1" path "${reference}")
  get_filename_component(stem "${path}" NAME_WE)
  get_filename_component(ending "${path}" LAST_EXT)
  string(SUBSTRING "${ending}" 1 -1 ending)
  if(ending STREQUAL "js")
    minify("${SOURCE}/${path}" "${made}/one.js")
  else()
    # Line breaks in either are insignificant.
    file(READ "${SOURCE}/${path}" content)
    string(REGEX REPLACE "\n *" "" content "${content}")
    file(WRITE "${made}/one.${ending}" "${content}")
  endif()
  keep("${made}/one.${ending}" ${stem} ${ending} name)
  string(REPLACE "\"${path}\"" "\"${name}\"" html "${html}")
endforeach()

string(REGEX REPLACE "\n[\n ]*" "\n" html "${html}")
file(WRITE "${made}/index.html" "${html}")
file(REMOVE_RECURSE "${TARGET}")
file(RENAME "${made}" "${TARGET}")
