// A library with nothing in it.
