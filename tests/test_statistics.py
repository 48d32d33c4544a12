"""The records of use: what is kept, what is sent, and the file that several processes share."""

from types import SimpleNamespace

import pytest
from hosts import logged

from core import _Statistics

Type = _Statistics.Type


def test_records_have_a_category_and_their_keys_in_order(monkeypatch):
    monkeypatch.setattr("time.time", lambda: 12.5)
    check = Type.Checks(1.5, 0.25, name="Ngons", result="fail")
    validation = Type.Validate(2.5, 3.5, project="street")
    assert (check.key, list(check.data.items())) == (
        "checks",
        [("name", "Ngons"), ("result", "fail"), ("timestamp", 1.5), ("speed", 0.25)],
    )
    assert (validation.key, list(validation.data.items())) == (
        "validate",
        [("project", "street"), ("timestamp", 2.5), ("speed", 3.5)],
    )
    assert Type.Validate(1, 2).data["project"] is None
    for record, key in (
        (Type.Exported(), "exported"),
        (Type.FeedbackSent(), "feedback_sent"),
        (Type._Record(), ""),
    ):
        assert isinstance(record, Type._Record)
        assert (record.key, record.data) == (key, {"timestamp": 12.5})


def test_a_request_is_json_on_one_line():
    request = _Statistics.HttpRequest("Зоя", {"checks": [{"name": "Ü"}]})
    assert str(request) == '{"username": "Зоя", "contents": {"checks": [{"name": "Ü"}]}}'
    assert bytes(request) == str(request).encode()
    assert request.headers == {"Content-type": "application/json"}


def test_a_request_that_cannot_be_written_is_refused():
    endless = []
    endless.append(endless)
    for contents, error in (("\ud800", ValueError), (object(), TypeError), (endless, RecursionError)):
        with pytest.raises(error):
            bytes(_Statistics.HttpRequest("", contents))


def test_only_the_status_of_a_response_counts():
    class Broken:
        @property
        def status(self):
            raise OSError("closed")

    with logged() as log:
        answers = [
            _Statistics.HttpResponse(SimpleNamespace(status=status)).accepted for status in (200, 201, "200")
        ]
        assert answers == [True, False, False]
        assert not log
        assert _Statistics.HttpResponse(Broken()).accepted is False
    assert log == ["OSError: closed"]
