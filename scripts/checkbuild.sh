# Sourced by sanitize.sh and fuzz.sh: the one clang build both of them use,
# with the sanitizers and the fuzz targets, and the sanitizers' settings.

check_build="$top/build-check"

export ASAN_OPTIONS="detect_leaks=1:strict_init_order=1:detect_stack_use_after_return=1"
export LSAN_OPTIONS="suppressions=$top/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"

configure_check_build()
{
    "$top/scripts/setup.sh"
    export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$top}"
    # -O1 with line tables: enough for the sanitizers' reports, and quicker to build than -O2 -g.
    cmake -S "$top" -B "$check_build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
          -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -gline-tables-only -DNDEBUG" \
          -DCMAKE_CXX_COMPILER=clang++ -DMORVEX_FUZZ=ON >/dev/null
}
