# Documents on PostgreSQL, against one server a run; without one these say that they are skipped.
find_package(Qt5 5.15 REQUIRED COMPONENTS Network)
find_path(POSTGRES_BIN postgres PATHS /usr/lib/postgresql/16/bin /usr/lib/postgresql/15/bin
    /usr/pgsql/bin NO_DEFAULT_PATH)
set(POSTGRES_FILE ${CMAKE_BINARY_DIR}/postgres-server)

add_library(testkit_roaming STATIC support/postgresserver.cpp support/postgresserver.h)
target_include_directories(testkit_roaming PUBLIC support)
target_compile_definitions(testkit_roaming PRIVATE POSTGRES_BIN="${POSTGRES_BIN}")
target_link_libraries(testkit_roaming PUBLIC indexuser::roaming PostgreSQL::PostgreSQL
    indexuser_compiler)

add_executable(roamserver roamserver.cpp)
target_link_libraries(roamserver PRIVATE testkit_roaming testkit_standalone)
add_test(NAME roamserver_start COMMAND roamserver start ${POSTGRES_FILE})
set_tests_properties(roamserver_start PROPERTIES FIXTURES_SETUP postgres)
add_test(NAME roamserver_stop COMMAND roamserver stop ${POSTGRES_FILE})
set_tests_properties(roamserver_stop PROPERTIES FIXTURES_CLEANUP postgres)

foreach(name documentparts roamclients roamcontents roamdeadlines roamgrowth roampostgres
        roamstore roamthinning roamtls)
    add_unit_test(standalone tst_${name})
    target_link_libraries(tst_${name} PRIVATE testkit_roaming)
    if(TEST tst_${name})
        set_tests_properties(tst_${name} PROPERTIES FIXTURES_REQUIRED postgres
            ENVIRONMENT "${TEST_ENVIRONMENT};INDEXUSER_POSTGRES=${POSTGRES_FILE}")
    endif()
endforeach()
target_link_libraries(tst_roamdeadlines PRIVATE Qt5::Network)
target_compile_definitions(tst_roampostgres PRIVATE
    ROAMING_SQL="${PROJECT_SOURCE_DIR}/src/indexmodel/roaming/sql")
