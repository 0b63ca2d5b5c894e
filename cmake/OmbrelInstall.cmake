# What `cmake --install` puts where: the program, and what the desktop, the shells and people find
# it by.
include(GNUInstallDirs)
find_program(GZIP gzip REQUIRED)
find_program(RSVG_CONVERT rsvg-convert)

set(packaging ${CMAKE_SOURCE_DIR}/packaging)
set(packagingBuild ${CMAKE_BINARY_DIR}/packaging)
set(documentMimeType application-x-ombrel) # as icons are named by it
set(docFolder ${CMAKE_INSTALL_DATAROOTDIR}/doc/ombrel)
set(desktopFiles "")

# A text compressed, with the same bytes in every build.
function(ombrel_gzip source output)
  add_custom_command(OUTPUT ${output} COMMAND ${GZIP} -9nc ${source} > ${output}
                     DEPENDS ${source} VERBATIM)
  set(desktopFiles ${desktopFiles} ${output} PARENT_SCOPE)
endfunction()

# One icon in one size; small ones have a drawing of their own.
function(ombrel_icon drawing size folder name)
  set(source ${CMAKE_SOURCE_DIR}/assets/icons/${drawing})
  set(output ${packagingBuild}/icons/${size}x${size}/${name}.png)
  file(MAKE_DIRECTORY ${packagingBuild}/icons/${size}x${size})
  add_custom_command(OUTPUT ${output}
                     COMMAND ${RSVG_CONVERT} -w ${size} -h ${size} -o ${output} ${source}
                     DEPENDS ${source} VERBATIM)
  install(FILES ${output}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/${folder})
  set(desktopFiles ${desktopFiles} ${output} PARENT_SCOPE)
endfunction()

foreach(kind IN ITEMS "ombrel apps ombrel" "ombrel-document mimetypes ${documentMimeType}")
  separate_arguments(words UNIX_COMMAND "${kind}")
  list(GET words 0 drawing)
  list(GET words 1 folder)
  list(GET words 2 name)
  install(FILES ${CMAKE_SOURCE_DIR}/assets/icons/${drawing}.svg
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/${folder} RENAME ${name}.svg)
  if(RSVG_CONVERT)
    foreach(size 16 22 24 32)
      ombrel_icon(${drawing}-small.svg ${size} ${folder} ${name})
    endforeach()
    foreach(size 48 64 128 256 512)
      ombrel_icon(${drawing}.svg ${size} ${folder} ${name})
    endforeach()
  endif()
endforeach()
if(NOT RSVG_CONVERT)
  message(WARNING "Icons are installed as SVG only: rsvg-convert (librsvg2-bin) is missing.")
endif()

set(OMBREL_RELEASE_DATE 2026-11-21) # of this version, as in the changelog
configure_file(${packaging}/com.ombrel.ombrel.metainfo.xml.in
               ${packagingBuild}/com.ombrel.ombrel.metainfo.xml @ONLY)
ombrel_gzip(${CMAKE_SOURCE_DIR}/docs/man/ombrel.1 ${packagingBuild}/ombrel.1.gz)
ombrel_gzip(${packaging}/changelog ${packagingBuild}/changelog.gz)
add_custom_target(ombrel_desktop ALL DEPENDS ${desktopFiles})

install(TARGETS ombrel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${packaging}/ombrel.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${packaging}/ombrel-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages
        RENAME ombrel.xml)
install(FILES ${packagingBuild}/com.ombrel.ombrel.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${packaging}/ombrel.thumbnailer DESTINATION ${CMAKE_INSTALL_DATADIR}/thumbnailers)
install(FILES ${packagingBuild}/ombrel.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_SOURCE_DIR}/docs/scripting.md ${packaging}/copyright
              ${packagingBuild}/changelog.gz DESTINATION ${docFolder})
install(FILES ${packaging}/completions/ombrel.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ombrel)
install(FILES ${packaging}/completions/ombrel.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
# Debian's zsh looks into one folder for packages and into another for what users install.
install(CODE "
  set(folder site-functions)
  if(CMAKE_INSTALL_PREFIX MATCHES \"/usr$\" AND EXISTS /etc/debian_version)
    set(folder vendor-completions)
  endif()
  file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/zsh/\${folder}\"
       TYPE FILE FILES \"${packaging}/completions/_ombrel\")
")

# Terms of what is compiled into the program, as the icons and the distribution's packages state them.
set(notices "")
if(EXISTS ${CMAKE_BINARY_DIR}/lucide/package/LICENSE)
  file(READ ${CMAKE_BINARY_DIR}/lucide/package/LICENSE text)
  string(APPEND notices "Lucide icons\n============\n\n${text}\n")
endif()
foreach(package libasio-dev libcli11-dev nlohmann-json3-dev libhwy-dev)
  if(EXISTS /usr/share/doc/${package}/copyright)
    file(READ /usr/share/doc/${package}/copyright text)
    string(APPEND notices "${package}\n============\n\n${text}\n")
  endif()
endforeach()
file(GENERATE OUTPUT ${packagingBuild}/third-party-notices.txt CONTENT "${notices}")
install(FILES ${packagingBuild}/third-party-notices.txt DESTINATION ${docFolder})
