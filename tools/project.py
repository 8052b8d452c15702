"""What scripts need to know of the project; CMakeLists.txt is where it is said."""

import re
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
VERSION = re.search(r"project\(\w+ VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text())[1]
