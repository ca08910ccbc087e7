// Nothing of its own: carries the headers that the tests share, compiled once.
