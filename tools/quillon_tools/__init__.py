"""Tools around the program quillon. `cli` is the entry point."""

__version__ = "0"  # scripts/build-wheel.sh writes that of CMakeLists.txt
