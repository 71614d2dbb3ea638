// The HiGHS adapter.
