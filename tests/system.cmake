# tests of system
