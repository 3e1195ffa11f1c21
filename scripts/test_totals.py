"""Adds up the results of run-tests; the last line is "N passed, N failed".

usage: test_totals.py RESULTS_FOLDER STATUS KIND...

The results are KIND.xml, in JUnit's format. STATUS is 0 if every runner ended well. Exit status 1 when anything failed.
"""

import pathlib
import sys
import xml.etree.ElementTree as ElementTree


def cases_of(results):
    try:
        return list(ElementTree.parse(results).iter("testcase"))
    except (OSError, ElementTree.ParseError):
        return []


def is_bad(case):
    return case.get("status") in ("fail", "disabled", "notrun") or any(
        case.find(tag) is not None for tag in ("failure", "error", "skipped"))


def main(folder, status, *kinds):
    passed = failed = 0
    for kind in kinds:
        bad = [is_bad(case) for case in cases_of(pathlib.Path(folder) / f"{kind}.xml")]
        passed += bad.count(False)
        # A kind of test that left no result has failed as a whole.
        failed += bad.count(True) if bad else 1
    # A runner that ended badly without a failed test has failed too.
    if failed == 0 and status != "0":
        failed = 1
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
