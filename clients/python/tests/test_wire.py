"""Client-side framing and encoding, without an application."""

import json

import pytest

from uiremote import Reply, ReplyReader, UIRemoteProtocolError, encode_request, qt
from uiremote.protocol import expected_duration

TRUE_REPLY = b'{\n    "result": true\n}\n'
VALUE_REPLY = '{\n    "result": true,\n    "value": "h\u00e9llo \\"}{\\" \u2713"\n}\n'.encode("utf-8")
FALSE_REPLY = b'{\n    "result": false\n}\n'


def test_reader_decodes_several_replies_from_one_read():
    reader = ReplyReader()
    assert reader.feed(TRUE_REPLY + VALUE_REPLY + FALSE_REPLY) == 3
    assert reader.pop() == Reply(True)
    assert reader.pop() == Reply(True, 'h\u00e9llo "}{" \u2713')
    assert reader.pop() == Reply(False)
    assert reader.pop() is None


def test_reader_byte_by_byte_keeps_partial_replies():
    data = TRUE_REPLY + VALUE_REPLY + FALSE_REPLY
    reader = ReplyReader()
    counts = [reader.feed(data[i:i + 1]) for i in range(len(data))]
    # A reply becomes available exactly when its closing brace arrives, not earlier.
    assert counts[len(TRUE_REPLY) - 3] == 0
    assert counts[len(TRUE_REPLY) - 2] == 1
    assert [reader.pop() for _ in range(3)] == [Reply(True), Reply(True, 'h\u00e9llo "}{" \u2713'), Reply(False)]


def test_reader_keeps_surplus_bytes_for_the_next_reply():
    reader = ReplyReader()
    reader.feed(TRUE_REPLY + b'{\n    "result": fa')
    assert reader.pop() == Reply(True)
    assert reader.pop() is None
    assert reader.pending.strip() == b'{\n    "result": fa'
    reader.feed(b'lse,\n    "value": [1, {"a": "}"}]\n}\n')
    assert reader.pop() == Reply(False, [1, {"a": "}"}])
    assert reader.pending.strip() == b""


def test_reader_handles_escaped_backslash_before_quote_split_across_reads():
    text = json.dumps({"result": True, "value": "a\\"}).encode()  # value ends in a backslash
    reader = ReplyReader()
    cut = text.index(b"\\\\") + 1  # between the two bytes of the escape
    reader.feed(text[:cut])
    assert reader.pop() is None
    reader.feed(text[cut:])
    assert reader.pop() == Reply(True, "a\\")


def test_reader_rejects_bytes_that_are_not_an_object():
    with pytest.raises(UIRemoteProtocolError):
        ReplyReader().feed(b"HTTP/1.1 400 Bad Request\r\n")
    with pytest.raises(UIRemoteProtocolError):
        ReplyReader().feed(b'{"value": 1}')  # no "result"


def test_reply_truthiness_and_check():
    assert Reply(True)
    assert not Reply(False, None)
    assert Reply(True, 5).check() == Reply(True, 5)
    with pytest.raises(Exception, match="getpro failed"):
        Reply(False).check("getpro")


def test_encoding_is_compact_and_protects_quotes_in_strings():
    data = encode_request({"setpro": {"objname": "a b", "propval": 'say "hi" \\" }{ x'}})
    text = data.decode("utf-8")
    assert '\\"' not in text  # no escaped quote left for the application to miscount
    assert text.count('"') % 2 == 0
    assert json.loads(text) == {"setpro": {"objname": "a b", "propval": 'say "hi" \\" }{ x'}}
    assert text.startswith('{"setpro":{"objname":"a b","propval":"say \\u0022hi\\u0022 ')


def test_encoding_refuses_what_is_not_an_object():
    with pytest.raises(TypeError):
        encode_request([1, 2])
    with pytest.raises(ValueError):
        encode_request({"setpro": {"propval": float("nan")}})


def test_expected_duration_counts_delay_and_signal_wait():
    assert expected_duration({"click": {}}) == 0
    assert expected_duration({"click": {}, "delay": 1500}) == 1.5
    assert expected_duration({"waitsignal": {"timeout": 2000}, "delay": 500}) == 2.5
    assert expected_duration({"click": {}, "delay": -5}) == 0


def test_key_for_char():
    assert qt.key_for_char("a") == (qt.Key.A, 0)
    assert qt.key_for_char("A") == (qt.Key.A, qt.Modifier.SHIFT)
    assert qt.key_for_char("7") == (qt.Key.DIGIT_7, 0)
    assert qt.key_for_char("!") == (qt.Key.EXCLAM, qt.Modifier.SHIFT)
    assert qt.key_for_char("-") == (qt.Key.MINUS, 0)
    assert qt.key_for_char(" ") == (qt.Key.SPACE, 0)
    assert qt.key_for_char("\n") == (qt.Key.RETURN, 0)
    with pytest.raises(ValueError):
        qt.key_for_char("\u00e9")


def test_parse_key_and_modifiers():
    assert qt.Key.RETURN == 0x01000004
    assert qt.parse_key("Return") == qt.parse_key("key_return") == 0x01000004
    assert qt.parse_key("PageDown") == qt.parse_key("page_down") == qt.Key.PAGE_DOWN
    assert qt.parse_key("F12") == qt.Key.F12
    assert qt.parse_key("0x41") == qt.parse_key("65") == qt.parse_key("a") == qt.Key.A
    assert qt.parse_key("5") == qt.Key.DIGIT_5
    assert qt.parse_modifiers("ctrl+shift") == 0x06000000
    assert qt.parse_modifiers("ShiftModifier|0x08000000") == 0x0A000000
    assert qt.parse_modifiers([qt.Modifier.META, "keypad"]) == 0x30000000
    assert qt.button_word("Middle") == "mid"
    assert qt.button_word(qt.MouseButton.RIGHT) == "right"
    with pytest.raises(ValueError):
        qt.parse_modifiers("hyper")
    with pytest.raises(ValueError):
        qt.button_word("fourth")
