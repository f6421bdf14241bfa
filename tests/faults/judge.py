"""What is wrong with a run."""
import re

import cases

# Marks that a run without a fault never sets, and those that it crosses: nobody else is in "one".
UNSET = {"linspire": {"image_11"}, "redflag": {"image_11"}, "xandros": {"image_10", "image_11"}, "gnome": set()}


def usual_marks(case):
    marks = {f"image_{number}": "apply" for number in range(13)}
    if case.archive != "two":
        marks["image_0"] = "cancel"
    if case.user != "root":
        marks.update(image_12="cancel", image_10="cancel")
    marks.update((mark, "empty") for mark in UNSET[case.system])
    return marks


def marks_of(result):
    return {f"image_{number}": what for number, _, what in result["marks"]}


def how_it_ended(result):
    status = result["status"]
    if status is None:
        return "not at all"
    if status < 0:
        return f"signal {-status}"
    if status > 0:
        return f"exit {status}"
    return cases.DONE if result["done"] else cases.LEFT


def wrong_marks(case, marks):
    for mark, usual in usual_marks(case).items():
        expected = "cancel" if mark in case.crosses and usual == "apply" else usual
        if marks[mark] != expected and not (mark in case.either and marks[mark] == "cancel"):
            yield f"{mark} is {marks[mark]} and not {expected}"


def faults(case, result, stderr):
    """Each in words."""
    if result["not_come"]:
        yield f"the moment {result['not_come']} did not come"
    if how_it_ended(result) != case.ends:
        yield f"it ended by {how_it_ended(result)} and not by {case.ends}"
        if result["times"] and how_it_ended(result) == cases.DONE:
            yield f"the order came too late, the run was over: {', '.join(result['times'])}"
    if case.crosses is not None:
        yield from wrong_marks(case, marks_of(result))
    if result["times"] and case.ends != cases.DONE and min(result["times"].values()) > case.within:
        yield f"it took {min(result['times'].values()):.1f} seconds to end"
    if case.says and not re.search(case.says, stderr):
        yield f"standard error does not say {case.says!r}"
    # KMail, started a moment before, is nobody's child.
    yield from (f"still runs: {process}" for process in result["left"] if not (case.killed and "kmail" in process))
    yield from (f"lost: {path}" for path in result["lost"])
    if result["folders"] and not case.killed:
        yield f"left in /tmp: {result['folders']}"
    if any(what == "second" for _, what in case.then) and result["second"] != 1:
        yield f"the second wizard ended with {result['second']}"
    yield from faults_of_next_start(case, result)


def faults_of_next_start(case, result):
    again = result.get("again")
    if again is None:
        return
    if not again["done"] or again["status"] != 0:
        yield f"the next start ended with {again['status']}, done: {again['done']}"
    wrong = {mark for mark, what in marks_of(again).items() if usual_marks(case)[mark] == "apply" and what != "apply"}
    if wrong:
        yield f"the next start crossed {sorted(wrong)}"
    if len(again["folders"]) > len(result["folders"]):
        yield f"the next start left {again['folders']}"
