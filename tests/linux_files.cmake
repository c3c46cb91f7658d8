# tests of linux_files
