"""What docs/python.md and the README show runs as it stands there."""

import os
import pathlib
import re
import subprocess
import sys

import pytest

SOURCES = pathlib.Path(os.environ["CIAPI_SOURCES"])
BLOCKS = [
    pytest.param(block, id=f"{page}-{number}")
    for page in ("docs/python.md", "README.md")
    for number, block in enumerate(re.findall(r"^```python\n(.*?)^```", (SOURCES / page).read_text(), re.S | re.M), 1)
]


def test_there_are_recipes():
    recipes = [block.values[0] for block in BLOCKS if "\ndef test_" in block.values[0] and "docs" in block.id]
    assert len(recipes) == 5


@pytest.mark.parametrize("block", BLOCKS)
def test_it_runs(tmp_path, block):
    file = tmp_path / "test_it.py"
    file.write_text(block)
    pytest_options = ["-m", "pytest", "-q", "-p", "no:cacheprovider", "--strict-markers", "--rootdir", tmp_path]
    given = [*pytest_options, "--basetemp", tmp_path / "tmp"] if "\ndef test_" in block else []
    done = subprocess.run([sys.executable, *given, file], cwd=tmp_path, capture_output=True, text=True, timeout=100)
    assert done.returncode == 0, done.stdout + done.stderr
    assert done.stdout
