"""`python3 -m quillon_tools` is the same as `quillon-tools`."""
import sys

from quillon_tools.cli import main

sys.exit(main())
