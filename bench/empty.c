/* The least that can be loaded as a library. */
typedef int nothing;
