"""Replies and the requests they belong to, on roads that delay, drop, and whose askers give up."""

from typing import Any

import pytest
from counting import ROADS, Faults, Readers, tried

LATE = "Warning 520004: A reply that came too late"
EVERYBODY: dict[str, Any] = {"threads": 6, "loops": 3, "tasks": 2}


@pytest.mark.parametrize("road", ROADS)
@pytest.mark.parametrize(
    ("delay_ms", "reads", "form"), [(5, 200, EVERYBODY), (15, 50, {"threads": 1}), (50, 200, EVERYBODY)]
)
def test_no_reader_gets_a_value_older_than_its_request(road, delay_ms, reads, form):
    tally = tried(road, Faults((delay_ms / 1000,)), Readers(reads=reads, timeout_s=20, **form))
    assert (tally.errors, tally.reads, tally.older, tally.timeouts) == ([], reads, 0, 0)
    assert tally.warnings == []


@pytest.mark.parametrize("road", ROADS)
@pytest.mark.parametrize("kept", [True, False])
def test_each_request_that_gives_up_makes_at_most_one_late_answer(road, kept):
    """One read of seven gives up, or is cancelled, before its reply can come."""
    readers = Readers(reads=210, timeout_s=20, impatient=7, hurry_s=0.02, late_replies=kept, **EVERYBODY)
    tally = tried(road, Faults((0.05,)), readers)
    assert (tally.errors, tally.reads, tally.timeouts) == ([], 210, 0)
    if kept:
        assert tally.older <= tally.given_up
        assert len(tally.warnings) == 1 and LATE in tally.warnings[0]  # the first
    else:
        assert tally.older == 0 and tally.given_up >= 30 and tally.warnings == []


@pytest.mark.parametrize("road", ["tcp", "serial"])
@pytest.mark.parametrize("form", [{"threads": 1}, {"threads": 6}, {"loops": 3}])
def test_a_road_that_drops_costs_time_and_no_value(road, form):
    """One packet of ten is lost. An operation times out when all of its copies are; without end, when the
    driver cannot tell what it is owed."""
    tally = tried(
        road, Faults((0.005,), lost_requests=0.05, lost_replies=0.05), Readers(reads=60, timeout_s=6, **form)
    )
    assert (tally.errors, tally.older) == ([], 0)
    assert tally.timeouts <= 3


@pytest.mark.parametrize("form", [{"threads": 6}, {"loops": 3}])
def test_nobody_gets_the_answer_to_another_question(form):
    """Also where replies are lost, so that the ones that follow are taken for earlier ones."""
    readers = Readers(reads=120, timeout_s=6, questions=3, **form)
    tally = tried("tcp", Faults((0.001,), lost_requests=0.01, lost_replies=0.01), readers)
    assert (tally.errors, tally.reads, tally.others, tally.older) == ([], 120, 0, 0)
    assert tally.timeouts <= 3
