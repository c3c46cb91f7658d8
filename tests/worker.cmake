# The worker's logic, on the deterministic platform.
tidewell_test(worker_tests
  SOURCES
    Worker/AccessRequestTest.cpp
    Worker/CacheNodeTest.cpp
    Worker/CleaningRunTest.cpp
    Worker/CookieNodeTest.cpp
    Worker/LocalStorageTest.cpp
    Worker/NotificationTest.cpp
    Worker/OriginSelectionTest.cpp
    Worker/OtherNamesTest.cpp
    Worker/PluginDataTest.cpp
    Worker/ServiceEntryTest.cpp
    Worker/UserProfilesTest.cpp
    Worker/WholeRunTest.cpp
    Worker/WorkerScriptsTest.cpp
    Worker/sandbox/AccessPanelTest.cpp
    Worker/sandbox/AppSandboxFileAccessTest.cpp
    Worker/sandbox/BookmarkStoreTest.cpp
    Worker/sandbox/SandboxAccessTest.cpp
    Worker/sandbox/SandboxReadingTest.cpp
    Worker/sandbox/SandboxRemovingTest.cpp
    Worker/sandbox/SandboxRewritingTest.cpp
    Worker/sandbox/SandboxSqlTest.cpp
    Worker/sandbox/SecureDeleteTest.cpp
    Worker/sandbox/StaleGrantsTest.cpp
  LIBRARIES test_support)

# Homes without a Library, and the stores of today's browsers.
tidewell_test(homes_tests
  SOURCES
    Worker/homes/DamagedStoresTest.cpp
    Worker/homes/HomeTest.cpp
    Worker/homes/HostileHomeTest.cpp
    Worker/homes/LinuxAccessTest.cpp
    Worker/homes/LinuxRunTest.cpp
    Worker/homes/StartedWithTest.cpp
  LIBRARIES test_support)

# Databases, with real files and real locks.
tidewell_test(database_tests
  SOURCES
    Worker/database/DefaultEncodingTest.cpp
    Worker/database/RowsTest.cpp
    Worker/database/SqliteBindingTest.cpp
    Worker/database/SqliteFilesTest.cpp
    Worker/database/SqliteLockTest.cpp
    Worker/database/SqliteQueryTest.cpp
    Worker/database/SqliteTest.cpp
  LIBRARIES worker_database test_support)

# Files that hold more than what sites have left: pure functions of their bytes.
tidewell_test(formats_tests
  SOURCES
    Worker/formats/CacheStorageIndexTest.cpp
    Worker/formats/FirefoxProfilesTest.cpp
    Worker/formats/JsonPartsTest.cpp
    Worker/formats/PreferencesTest.cpp
    Worker/formats/SessionStoreTest.cpp
    Worker/formats/leveldb/LevelDamageTest.cpp
    Worker/formats/leveldb/LevelDatabaseTest.cpp
    Worker/formats/leveldb/LevelFailureTest.cpp
    Worker/formats/leveldb/LevelSizeTest.cpp
  LIBRARIES worker_formats leveldb_static lz4_static test_support)

tidewell_test(stores_tests
  SOURCES
    Worker/stores/CurrentStoresTest.cpp
  LIBRARIES worker)
target_compile_definitions(stores_tests PRIVATE TIDEWELL_DOCS="${PROJECT_SOURCE_DIR}/docs")
