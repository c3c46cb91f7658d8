# The terminal's main application.
tidewell_test(main_application_tests
  SOURCES
    MainApplication/LinuxPreviewTest.cpp
    MainApplication/PreviewTest.cpp
  LIBRARIES test_support main_application)
