# Runs when Tidewell is installed: the files that name the installed programs by their whole paths, and those whose place
# depends on where that is. Under ~/.local, the service manager and the desktop of one person look in places of their own.
#
# Is told: TIDEWELL_SOURCES, TIDEWELL_WRITTEN (a folder to write to), TIDEWELL_BINDIR, TIDEWELL_DATADIR,
# TIDEWELL_SYSTEMD_USER_DIR, TIDEWELL_SYSCONFDIR, TIDEWELL_RESTART_STEPS, TIDEWELL_WINDOWS.
set(units ${CMAKE_INSTALL_PREFIX}/${TIDEWELL_SYSTEMD_USER_DIR})
set(autostart ${TIDEWELL_SYSCONFDIR}/xdg/autostart)
if(CMAKE_INSTALL_PREFIX STREQUAL "$ENV{HOME}/.local")
  set(units ${CMAKE_INSTALL_PREFIX}/share/systemd/user)
  set(autostart $ENV{HOME}/.config/autostart)
  if(NOT "$ENV{XDG_CONFIG_HOME}" STREQUAL "")
    set(autostart $ENV{XDG_CONFIG_HOME}/autostart)
  endif()
endif()

# In the templates.
set(CMAKE_INSTALL_FULL_BINDIR ${CMAKE_INSTALL_PREFIX}/${TIDEWELL_BINDIR})

function(install_configured template folder)
  get_filename_component(name ${template} NAME_WLE)
  configure_file(${TIDEWELL_SOURCES}/${template} ${TIDEWELL_WRITTEN}/${name} @ONLY)
  file(INSTALL ${TIDEWELL_WRITTEN}/${name} DESTINATION ${folder})
  set(CMAKE_INSTALL_MANIFEST_FILES ${CMAKE_INSTALL_MANIFEST_FILES} PARENT_SCOPE)
endfunction()

set(services ${CMAKE_INSTALL_PREFIX}/${TIDEWELL_DATADIR}/dbus-1/services)
install_configured(dbus/_7QX2LM9PDA.com.emberlinestudio.Tidewell.TidewellWorker.service.in ${services})
install_configured(systemd/tidewell-worker.service.in ${units})
file(INSTALL ${TIDEWELL_SOURCES}/systemd/app-.scope.d ${TIDEWELL_SOURCES}/systemd/app-.service.d DESTINATION ${units})
install_configured(autostart/tidewell-worker.desktop.in ${autostart})
if(TIDEWELL_WINDOWS)
  install_configured(dbus/com.emberlinestudio.Tidewell.service.in ${services})
  install_configured(dbus/com.emberlinestudio.Tidewell.OpenPanel.service.in ${services})
endif()
