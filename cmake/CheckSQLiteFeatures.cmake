# The index needs FTS5, unixepoch() and RETURNING. Version numbers say little about
# what a distribution compiled in, so a probe program exercises each feature.
function(qv_check_sqlite_features)
  if(DEFINED CACHE{QV_SQLITE_FEATURES_OK} AND QV_SQLITE_FEATURES_OK)
    return()
  endif()
  try_run(_run_result _compile_result
    SOURCES ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/sqlite_probe.c
    LINK_LIBRARIES SQLite::SQLite3
    COMPILE_OUTPUT_VARIABLE _compile_out
    RUN_OUTPUT_VARIABLE _run_out)
  if(NOT _compile_result)
    message(FATAL_ERROR "Could not build the SQLite feature probe against ${SQLite3_LIBRARIES}:\n${_compile_out}")
  endif()
  if(NOT _run_result EQUAL 0)
    message(FATAL_ERROR "The system SQLite (${SQLite3_VERSION}) lacks a feature the index needs:\n${_run_out}"
                        "Install an SQLite build with FTS5, unixepoch() and RETURNING (SQLite 3.38 or later).")
  endif()
  set(QV_SQLITE_FEATURES_OK TRUE CACHE INTERNAL "SQLite offers FTS5, unixepoch() and RETURNING")
  message(STATUS "SQLite ${SQLite3_VERSION}: FTS5, unixepoch() and RETURNING present")
endfunction()
