# tests of linux_session
