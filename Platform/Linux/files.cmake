# Files and grants.
add_library(platform_linux_files STATIC
  BookmarkData.cpp
  FileLocks.cpp
  FilePin.cpp
  FileReader.cpp
  FileReplacement.cpp
  FolderListing.cpp
  FolderStack.cpp
  LinuxDirectoryEnumerator.cpp
  LinuxFileManager.cpp
  LinuxSystem.cpp
  SecurityScopes.cpp
  TreeRemoval.cpp)
target_link_libraries(platform_linux_files PUBLIC platform platform_linux_settings)
