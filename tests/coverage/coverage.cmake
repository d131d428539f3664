# What the coverage build has beside the instrumentation: a daemon that writes
# its counts however it ends.
target_sources(tspec-daemon PRIVATE ${CMAKE_CURRENT_LIST_DIR}/dump_at_end.c)
target_link_options(tspec-daemon PRIVATE "LINKER:--wrap=raise")
