"""Tools around the program quillon: check, convert, run and look. `cli` is the entry."""

__version__ = "0"  # scripts/build-wheel.sh writes that of CMakeLists.txt
