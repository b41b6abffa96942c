// Has the headers that every test program needs compiled once.
