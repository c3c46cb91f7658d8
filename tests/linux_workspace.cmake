# tests of linux_workspace
