"""Every operation of every model does the same in both of its forms: the same packets, and the same end."""

import pytest
from fakes import ANSWERS, FakeTransport, connected, models
from test_bad_input import good, operations, run

import pyqvx


def outcome(device, name, args):
    """What it returned, or raised, and what it sent."""
    device.client_cmd.sent.clear()
    try:
        result = run(device, name, args)
    except pyqvx.Error as error:
        result = (type(error), error.msg)
    return str(result), list(device.client_cmd.sent)


@pytest.mark.parametrize("cls", models(), ids=lambda cls: cls.__name__)
def test_both_forms_do_the_same(cls):
    device = connected(FakeTransport(ANSWERS, default=bytes(8)), cls)
    names = operations(cls)
    sending = 0
    for name, pairs in names.items():
        if name + "_async" not in names:
            continue
        blocking = outcome(device, name, good(pairs))
        awaited = outcome(device, name + "_async", good(names[name + "_async"]))
        assert blocking == awaited, name
        sending += bool(blocking[1])
    assert sending > 20
    device.close()
