"""Makes the modules of the sweep known to its tests."""

import sys
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]
for folder in ('sweep', 'rehearsal'):
    sys.path.insert(0, str(TREE / 'tools' / folder))
