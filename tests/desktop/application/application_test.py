#!/usr/bin/python3
"""The whole application on a desktop of its own, as a user meets it. Usage: application_test.py PROGRAM SUBJECT.CASE"""

import importlib
import os
import subprocess
import sys
import unittest

# The machine's own drives are not to be seen, nor are those of a test outside of it.
if os.geteuid() == 0:
    if "IN_OWN_NAMESPACE" not in os.environ:
        os.environ["IN_OWN_NAMESPACE"] = "1"
        os.execvp("unshare", ["unshare", "--mount", "--propagation", "private", sys.executable, *sys.argv])
    for folder in ("/media", "/mnt"):
        subprocess.run(["mount", "-t", "tmpfs", "tmpfs", folder], check=True)
subject, case = sys.argv[2].split(".")
unittest.main(importlib.import_module(subject), argv=[sys.argv[0], f"Test.test_{case}"], verbosity=2, warnings="ignore")
