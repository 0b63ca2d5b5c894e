# The icons of lucide-icons.txt as a table in the App room. They come from the Lucide package, which
# npm fetches once from the registry that the machine is set up for; the archive is checked against
# its digest whenever it is used, and stays in the user's cache. Without it the program builds all
# the same and draws letters in place of icons.
set(lucideVersion 0.460.0)
set(lucideSha512
    5faa48760ee3571bfb610fee476e3587084d8b3b5c01f9a3d7cd536dc5fb1c2c7193fde619a46d01ce9bd9fb54bd006e7db244e9e860cb33b6b95b1aeb4e2d5a)
set(lucideArchiveName lucide-static-${lucideVersion}.tgz)

if(DEFINED ENV{XDG_CACHE_HOME} AND NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
  set(lucideCache "$ENV{XDG_CACHE_HOME}/ombrel-build")
else()
  set(lucideCache "$ENV{HOME}/.cache/ombrel-build")
endif()

# Puts the archive into the cache unless it is there. Returns why it is not, or nothing.
function(ombrel_fetch_lucide archive outReason)
  set(${outReason} "" PARENT_SCOPE)
  if(EXISTS ${archive})
    file(SHA512 ${archive} digest)
    if(digest STREQUAL lucideSha512)
      return()
    endif()
    file(REMOVE ${archive})
  endif()
  find_program(NPM npm)
  if(NOT NPM)
    set(${outReason} "npm is not installed" PARENT_SCOPE)
    return()
  endif()
  string(RANDOM LENGTH 8 mark)
  set(folder ${lucideCache}/fetch-${mark})
  file(MAKE_DIRECTORY ${folder})
  execute_process(COMMAND ${NPM} pack --silent --pack-destination ${folder}
                          lucide-static@${lucideVersion}
                  WORKING_DIRECTORY ${folder} TIMEOUT 120
                  RESULT_VARIABLE result OUTPUT_QUIET ERROR_QUIET)
  set(fetched ${folder}/${lucideArchiveName})
  if(NOT result EQUAL 0 OR NOT EXISTS ${fetched})
    set(${outReason} "npm could not fetch lucide-static ${lucideVersion}" PARENT_SCOPE)
  else()
    file(SHA512 ${fetched} digest)
    if(digest STREQUAL lucideSha512)
      file(RENAME ${fetched} ${archive})
    else()
      set(${outReason} "the digest of lucide-static ${lucideVersion} is wrong" PARENT_SCOPE)
    endif()
  endif()
  file(REMOVE_RECURSE ${folder})
endfunction()

# The table as C++, from the unpacked files; without a folder it is empty.
function(ombrel_write_icons folder output)
  set(rows "")
  if(folder)
    file(STRINGS ${CMAKE_SOURCE_DIR}/cmake/lucide-icons.txt lines REGEX "^[^#]")
    foreach(line ${lines})
      separate_arguments(words UNIX_COMMAND "${line}")
      list(GET words 0 name)
      list(GET words -1 fileName)
      if(NOT EXISTS ${folder}/package/icons/${fileName}.svg)
        message(FATAL_ERROR "lucide-icons.txt: the package has no icon ${fileName}")
      endif()
      file(READ ${folder}/package/icons/${fileName}.svg svg)
      string(APPEND rows "    {\"${name}\", R\"svg(${svg})svg\"},\n")
    endforeach()
    file(READ ${folder}/package/LICENSE license)
  endif()
  string(CONCAT content
         "#include \"App/Look/LucideIcons.h\"\n\nnamespace ombrel {\n\n"
         "const std::vector<LucideIcon>& lucideIcons() {\n"
         "    static const std::vector<LucideIcon> icons{\n" "${rows}" "    };\n"
         "    return icons;\n}\n\n"
         "const char* const lucideLicense = R\"text(" "${license}" ")text\";\n\n"
         "} // namespace ombrel\n")
  set(present "")
  if(EXISTS ${output})
    file(READ ${output} present)
  endif()
  if(NOT present STREQUAL content)
    file(WRITE ${output} "${content}")
  endif()
endfunction()

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             ${CMAKE_SOURCE_DIR}/cmake/lucide-icons.txt)
set(lucideArchive ${lucideCache}/${lucideArchiveName})
ombrel_fetch_lucide(${lucideArchive} lucideReason)
set(lucideFolder "")
if(lucideReason)
  message(WARNING "No icons: ${lucideReason}. The program draws letters in their place; to have "
                  "icons, install npm, see that it reaches its registry, and configure again.")
else()
  set(lucideFolder ${CMAKE_BINARY_DIR}/lucide)
  file(ARCHIVE_EXTRACT INPUT ${lucideArchive} DESTINATION ${lucideFolder}
       PATTERNS package/icons/*.svg package/LICENSE)
endif()
ombrel_write_icons("${lucideFolder}" ${CMAKE_BINARY_DIR}/generated/LucideIcons.cpp)
target_sources(ombrel_app PRIVATE ${CMAKE_BINARY_DIR}/generated/LucideIcons.cpp)
