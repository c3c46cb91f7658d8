# The terminal's main application.
tidewell_test(main_application_tests
  SOURCES MainApplication/PreviewTest.cpp
  LIBRARIES test_support main_application)
