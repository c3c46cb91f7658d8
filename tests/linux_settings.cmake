# tests of linux_settings
