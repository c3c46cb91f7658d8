# Settings: one SQLite file for each domain.
add_library(platform_linux_settings STATIC DefaultsFile.cpp SqliteUserDefaults.cpp UserFolders.cpp ValueCodec.cpp)
target_link_libraries(platform_linux_settings PUBLIC platform PkgConfig::SQLITE3)
