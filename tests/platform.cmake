# tests of platform
