"""Named checks for the command-line tests: each one counted, each failure kept with
its detail, and one summary line at the end."""
_failures = []
_count = 0


def check(name, cond, detail=""):
    global _count
    _count += 1
    if not cond:
        _failures.append(f"{name}: {detail}")
    return cond


def failed():
    return bool(_failures)


def summary(label, shown=50):
    """Prints the first `shown` failures and the totals; returns the exit status."""
    for f in _failures[:shown]:
        print("FAIL", f)
    print(f"{label}: {_count - len(_failures)} passed, {len(_failures)} failed")
    return 1 if _failures else 0
