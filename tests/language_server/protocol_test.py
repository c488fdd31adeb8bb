#!/usr/bin/env python3
"""protocol_test.py ECLIPSE_INT [UNITTEST_ARGUMENTS...]: the language server as a process, with usual and odd input."""
import json
import os
import pathlib
import select
import subprocess
import sys
import tempfile
import time
import unittest

ECLIPSE_INT = ""
PATIENCE = 60  # seconds

HEADER = "Repository\tFeature\n"
GOOD = HEADER + "site\tx.a.feature.group\n"
WITHOUT_SUFFIX = HEADER + "site\tx.a\n"
CONTENT = """<?xml version='1.0' encoding='UTF-8'?>
<repository name='r' type='org.eclipse.equinox.internal.p2.metadata.repository.LocalMetadataRepository' version='1'>
<units size='2'><unit id='x.a.feature.group' version='1.2.3'/><unit id='x.b.feature.group' version='1.0.0'/></units></repository>
"""

LONG = "site\tx.a.feature.group\t\t1\n" * 500_000  # a check of it takes many seconds; no message may be much longer


def framed(text):
    content = text if isinstance(text, bytes) else text.encode()
    return b"Content-Length: %d\r\n\r\n" % len(content) + content


class Server:
    """The process, and what it has sent."""

    def __init__(self, *options, initialize=True, capabilities=None, **popen):
        self.process = subprocess.Popen(
            [ECLIPSE_INT, "language-server", *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0, **popen)
        self.buffer = b""
        self.received = []
        self.next_id = 0
        self.versions = {}
        if initialize:
            self.initialized = self.result("initialize", {"capabilities": capabilities or {}})
            self.notify("initialized", {})

    def write(self, data):
        self.process.stdin.write(data)

    def send(self, message):
        self.write(framed(json.dumps({"jsonrpc": "2.0", **message})))

    def notify(self, method, params):
        self.send({"method": method, "params": params})

    def request(self, method, params):
        """Sends a request: its id."""
        self.next_id += 1
        self.send({"id": self.next_id, "method": method, "params": params})
        return self.next_id

    def read_message(self, patience=PATIENCE):
        """The next message; None when there is none in this time or at the end."""
        end = time.monotonic() + patience
        while True:
            head, separator, rest = self.buffer.partition(b"\r\n\r\n")
            if separator:
                length = int(head.split(b":")[1])
                if len(rest) >= length:
                    self.buffer = rest[length:]
                    return json.loads(rest[:length].decode())
            if not select.select([self.process.stdout], [], [], max(0, end - time.monotonic()))[0]:
                return None
            piece = os.read(self.process.stdout.fileno(), 65536)
            if not piece:
                return None
            self.buffer += piece

    def wait_for(self, is_wanted):
        for message in self.received:
            if is_wanted(message):
                self.received.remove(message)
                return message
        while (message := self.read_message()) is not None:
            if is_wanted(message):
                return message
            self.received.append(message)
        raise AssertionError(f"no such message; received: {self.received}")

    def answer(self, id):
        return self.wait_for(lambda message: "method" not in message and message.get("id") == id)

    def result(self, method, params):
        answer = self.answer(self.request(method, params))
        if "error" in answer:
            raise AssertionError(answer["error"])
        return answer["result"]

    def error(self, method, params):
        return self.answer(self.request(method, params))["error"]["code"]

    # Documents.

    def open(self, file, text):
        self.versions[file] = 1
        self.notify("textDocument/didOpen",
                    {"textDocument": {"uri": uri(file), "languageId": "x", "version": 1, "text": text}})

    def change(self, file, *changes):
        self.versions[file] += 1
        self.notify("textDocument/didChange",
                    {"textDocument": {"uri": uri(file), "version": self.versions[file]}, "contentChanges": list(changes)})

    def diagnostics(self, file):
        """Those of the last version."""
        message = self.wait_for(lambda each: each.get("method") == "textDocument/publishDiagnostics"
                                and each["params"]["uri"] == uri(file)
                                and each["params"].get("version") == self.versions.get(file))
        return message["params"]["diagnostics"]

    def codes(self, file):
        return [diagnostic.get("code") for diagnostic in self.diagnostics(file)]

    def hover(self, file, line, character):
        result = self.result("textDocument/hover", place(file, line, character))
        return result and result["contents"]["value"]

    def items(self, file, line, character):
        result = self.result("textDocument/completion", place(file, line, character))
        return [item["label"] for item in result["items"]]

    # The end.

    def end(self):
        """Closes its input: (status, what it still sent, standard error)."""
        if not self.process.stdin.closed:
            self.process.stdin.close()
        rest = self.buffer + self.process.stdout.read()
        error = self.process.stderr.read().decode()
        status = self.process.wait(PATIENCE)
        self.process.stdout.close()
        self.process.stderr.close()
        return status, rest, error

    def exit(self):
        self.result("shutdown", None)
        self.notify("exit", None)
        return self.end()


def wait_until(is_so, patience=PATIENCE):
    """Whether it becomes so in this time."""
    end = time.monotonic() + patience
    while not is_so() and time.monotonic() < end:
        time.sleep(0.01)
    return bool(is_so())


def uri(file):
    return file if ":" in str(file) else pathlib.Path(file).as_uri()


def place(file, line, character):
    return {"textDocument": {"uri": uri(file)}, "position": {"line": line, "character": character}}


def spot(line, start, end):
    return {"start": {"line": line, "character": start}, "end": {"line": line, "character": end}}


class Product(unittest.TestCase):
    """A component with a site, a descriptor file without mistakes, and a server."""

    options = ()
    capabilities = {}

    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.product = pathlib.Path(self.directory.name).resolve()
        self.file = self.write("tools/etc/eclipse/tools.txt", GOOD)
        self.write("tools/site/content.xml", CONTENT)
        self.server = Server(*self.options, capabilities=self.capabilities)
        self.addCleanup(self.stop)

    def write(self, name, text):
        path = self.product / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text if isinstance(text, bytes) else text.encode())
        return path

    def stop(self):
        if self.server.process.returncode is None:
            self.server.process.kill()
            self.server.end()

    def expect_alive(self):
        """The server works as at the beginning, and ends as it should."""
        other = self.write("other/etc/eclipse/o.txt", WITHOUT_SUFFIX)
        self.write("other/site/content.xml", CONTENT)
        self.server.open(other, WITHOUT_SUFFIX)
        self.assertEqual(self.server.codes(other), ["feature-without-group-suffix"])
        status, rest, error = self.server.exit()
        self.assertEqual((status, error), (0, ""))


class Lifecycle(Product):
    def test_initialize_says_what_it_can(self):
        capabilities = self.server.initialized["capabilities"]
        self.assertEqual(capabilities["positionEncoding"], "utf-16")
        self.assertEqual(capabilities["textDocumentSync"], {"openClose": True, "change": 2, "save": True})
        self.assertTrue(capabilities["hoverProvider"])
        self.assertEqual(self.server.initialized["serverInfo"]["name"], "eclipse-int")
        self.expect_alive()

    def test_requests_before_initialize_are_refused(self):
        server = Server(initialize=False)
        self.assertEqual(server.error("textDocument/hover", {}), -32002)
        self.assertEqual(server.error("shutdown", None), -32002)
        server.notify("textDocument/didOpen", {"textDocument": {"uri": uri(self.file), "text": "x"}})
        self.assertEqual(server.error("initialize", None), -32602)
        self.assertIn("capabilities", server.result("initialize", {"capabilities": {}}))
        self.assertEqual(server.error("initialize", {"capabilities": {}}), -32600)
        self.assertEqual(server.exit(), (0, b"", ""))

    def test_only_exit_comes_after_shutdown(self):
        self.server.result("shutdown", None)
        self.assertEqual(self.server.error("textDocument/hover", place(self.file, 0, 0)), -32600)
        self.assertEqual(self.server.error("shutdown", None), -32600)
        self.server.notify("exit", None)
        self.assertEqual(self.server.end()[0], 0)

    def test_exit_without_shutdown_is_a_failure(self):
        self.server.notify("exit", None)
        self.assertEqual(self.server.end(), (1, b"", ""))

    def test_exit_ends_it_before_initialize_and_with_open_input(self):
        server = Server(initialize=False)
        server.notify("exit", None)
        self.assertEqual(server.process.wait(PATIENCE), 1)
        server.end()

    def test_a_closed_input_ends_it(self):
        self.server.open(self.file, WITHOUT_SUFFIX)
        status, _, error = self.server.end()
        self.assertEqual((status, error), (1, ""))

    def test_what_was_asked_before_the_input_ended_is_answered(self):
        server = Server(initialize=False)
        server.send({"id": 1, "method": "initialize", "params": {}})
        server.write(b"".join(framed(json.dumps({"jsonrpc": "2.0", "id": id, "method": "x"})) for id in range(2, 3000)))
        status, rest, error = server.end()
        self.assertEqual((status, error), (1, ""))
        self.assertEqual(rest.count(b"Content-Length: "), 2999)

    def test_a_closed_output_ends_it(self):
        self.server.process.stdout.close()
        self.server.open(self.file, WITHOUT_SUFFIX)
        self.server.request("textDocument/hover", place(self.file, 0, 0))
        self.assertEqual(self.server.process.wait(PATIENCE), 1)
        self.assertEqual(self.server.process.stderr.read(), b"")
        self.server.process.stderr.close()
        self.server.process.stdin.close()

    def test_closed_streams_from_the_beginning(self):
        for redirections in ("<&-", ">&-", "<&- >&-", "<&- >&- 2>&-", "< /dev/null", "> /dev/full < /dev/null"):
            done = subprocess.run(["bash", "-c", f'"$0" language-server {redirections}', ECLIPSE_INT],
                                  stdin=subprocess.DEVNULL, capture_output=True, timeout=PATIENCE, check=False)
            self.assertEqual((done.returncode, done.stdout), (1, b""), redirections)

    def test_no_process_stays_behind(self):
        self.server.open(self.file, LONG)
        children = pathlib.Path(f"/proc/{self.server.process.pid}/task/{self.server.process.pid}/children")
        self.assertTrue(wait_until(lambda: children.read_text()))
        check = pathlib.Path("/proc") / children.read_text().split()[0]
        self.server.process.kill()
        self.server.end()
        self.assertTrue(wait_until(lambda: not check.exists() or "(zombie)" in (check / "status").read_text(), patience=3))


class OddInput(Product):
    def test_messages_may_come_byte_by_byte(self):
        message = framed(json.dumps({"jsonrpc": "2.0", "id": 77, "method": "textDocument/hover", "params": place(self.file, 0, 0)}))
        for byte in message:
            self.server.write(bytes([byte]))
        self.assertIsNone(self.server.answer(77)["result"])
        self.expect_alive()

    def test_many_messages_may_come_at_once(self):
        messages = b"".join(framed(json.dumps({"jsonrpc": "2.0", "id": id, "method": "x/unknown"})) for id in range(100, 1100))
        self.server.write(messages)
        for id in range(100, 1100):
            self.assertEqual(self.server.answer(id)["error"]["code"], -32601)
        self.expect_alive()

    def test_unknown_methods_and_notifications(self):
        self.assertEqual(self.server.error("textDocument/unknown", {}), -32601)
        self.assertEqual(self.server.error("$/unknown", {}), -32601)
        self.server.notify("textDocument/unknown", {})
        self.server.notify("$/setTrace", {"value": "off"})
        self.server.send({"id": 5, "result": None})  # a response to nothing
        self.expect_alive()

    def test_what_is_not_json_is_a_parse_error(self):
        for text in (b"", b"{", b"nothing", b"\xff\xfe", b"{}{}", b'{"method": "\xff"}', b"\0" * 10):
            self.server.write(framed(text))
            self.assertEqual(self.server.answer(None)["error"]["code"], -32700, text)
        self.expect_alive()

    def test_what_is_not_a_message_is_an_invalid_request(self):
        for text in ("[]", "1", "null", "{}", '{"id": {}, "method": "x"}', '{"id": null, "method": "x"}', '{"id": 1.5, "method": "x"}',
                     '{"method": 1}', '[{"id": 1, "method": "shutdown"}]'):
            self.server.write(framed(text))
            self.assertEqual(self.server.answer(None)["error"]["code"], -32600, text)
        self.expect_alive()

    def test_deep_and_wide_messages_are_refused(self):
        for text in ("[" * 1_000_000, '{"a":' * 200_000 + "1" + "}" * 200_000, '{"method": "x", "params": ' + "[" * 100 + "]" * 100 + "}",
                     "[" + "0," * 1_500_000 + "0]"):
            self.server.write(framed(text))
            self.assertIn(self.server.answer(None)["error"]["code"], (-32600, -32700))
        self.expect_alive()

    def test_too_large_messages_are_skipped(self):
        size = 17 << 20
        self.server.write(b"Content-Length: %d\r\n\r\n" % size)
        for _ in range(17):
            self.server.write(b" " * (1 << 20))
        self.assertEqual(self.server.answer(None)["error"]["code"], -32600)
        self.expect_alive()

    def test_wrong_framing_ends_it_with_a_message(self):
        for data in (b"{}\r\n\r\n", b"Content-Length: x\r\n\r\n{}", b"Content-Length: -1\r\n\r\n{}", b"\r\n\r\n", b"GET / HTTP/1.1\r\n\r\n", b"x" * 10000,
                     b"Content-Length: 99999999999999999999999\r\n\r\n"):
            server = Server(initialize=False)
            server.write(data)
            status, rest, error = server.end()
            self.assertEqual((status, rest), (2, b""), data)
            self.assertRegex(error, r"^eclipse-int: standard input: .*; let an editor start this command\n$")

    def test_an_end_inside_a_message_is_an_error(self):
        for data in (b"Content-Length: 100\r\n\r\n{}", b"Content-Length: 1", b"Content-Length: 1\r\n\r\n"):
            server = Server(initialize=False)
            server.write(data)
            status, rest, error = server.end()
            self.assertEqual((status, rest), (2, b""), data)
            self.assertIn("the input ends inside a message", error)

    def test_a_length_that_is_too_small_ends_it(self):
        server = Server(initialize=False)
        server.write(b'Content-Length: 2\r\n\r\n{"jsonrpc": "2.0", "id": 1, "method": "initialize"}' + b" " * 5000)
        status, _, error = server.end()
        self.assertEqual(status, 2)
        self.assertIn("standard input: ", error)

    def test_wrong_parameters_are_refused(self):
        for method in ("textDocument/hover", "textDocument/completion", "textDocument/codeAction"):
            for params in (None, [], 1, {}, {"textDocument": 1}, {"textDocument": {"uri": 1}, "position": {"line": 0, "character": 0}},
                           {"textDocument": {"uri": uri(self.file)}, "position": {"line": -1, "character": 0}},
                           {"textDocument": {"uri": uri(self.file)}, "position": {"line": 0.5, "character": 0}},
                           {"textDocument": {"uri": uri(self.file)}, "position": {"line": "0", "character": 0}}):
                self.assertEqual(self.server.error(method, params), -32602, (method, params))
        for method in ("didOpen", "didChange", "didSave", "didClose"):
            for params in (None, [], {}, {"textDocument": []}, {"textDocument": {"uri": 1, "text": 1}}):
                self.server.notify("textDocument/" + method, params)
        self.server.notify("$/cancelRequest", {})
        self.server.notify("$/cancelRequest", {"id": 12345})
        self.expect_alive()

    def test_documents_that_are_not_open(self):
        self.assertIsNone(self.server.hover(self.file, 0, 0))
        self.assertIsNone(self.server.result("textDocument/completion", place(self.file, 0, 0)))
        self.server.versions[self.file] = 0
        self.server.change(self.file, {"text": "x"})
        self.server.notify("textDocument/didClose", {"textDocument": {"uri": uri(self.file)}})
        self.server.notify("textDocument/didSave", {"textDocument": {"uri": uri(self.file)}})
        self.expect_alive()

    def test_documents_that_are_no_files(self):
        for name in ("untitled:1", "", "file://other/etc/eclipse/x.txt", "file:///a%00b", "file:///%zz", "http://x/etc/eclipse/x"):
            self.server.notify("textDocument/didOpen", {"textDocument": {"uri": name, "languageId": "x", "version": 1, "text": WITHOUT_SUFFIX}})
            params = {"textDocument": {"uri": name}, "position": {"line": 1, "character": 1}}
            self.assertIsNone(self.server.result("textDocument/hover", params), name)
            self.assertEqual(self.server.result("textDocument/completion", params)["items"], [], name)
        for name in (self.product, self.product / "none/etc/eclipse/x", "file:///dev/zero", "file:///proc/self/mem", self.product / ("x" * 300)):
            self.server.open(name, WITHOUT_SUFFIX)
            self.server.diagnostics(name)
            self.server.result("textDocument/completion", place(name, 1, 1))
        self.expect_alive()

    def test_odd_texts(self):
        texts = ["", "\n", "\t", "\t\t\t\n", "\0", "a\0b\tc", "\r", "a\rb", "😀\t😀\n", "\ufeffRepository\tFeature\n", "\u202e\tx\n", "x" * 200_000,
                 "s\tf\n" * 20_000, "\t" * 100_000, "s\tf\t\t2147483647\n" * 3]
        for file in (self.file, self.write("odd/etc/eclipse/odd.json", "")):
            self.server.open(file, "")
            texts = texts if file == self.file else ['{"components": ' + text for text in ("", "[", "[" * 1000, "1}", "[{}]}", '[{"code": "\\u0000"}]}')]
            for text in texts:
                self.server.change(file, {"text": text})
                diagnostics = self.server.diagnostics(file)
                self.assertLess(len(diagnostics), 1100)
                for diagnostic in diagnostics:
                    self.assertLessEqual(diagnostic["range"]["start"]["line"], diagnostic["range"]["end"]["line"])
                self.server.result("textDocument/hover", place(file, 0, 1))
                self.server.result("textDocument/completion", place(file, 1, 3))
        self.expect_alive()

    def test_it_reads_on_while_nobody_reads_its_answers(self):
        """An editor may send much before it reads, and the server must not wait for it."""
        count = 20_000
        for start in range(0, count, 1000):
            self.server.write(b"".join(framed(json.dumps({"jsonrpc": "2.0", "id": f"n{id}", "method": "x"})) for id in range(start, start + 1000)))
        for id in range(count):
            message = self.server.read_message()
            self.assertEqual((message["id"], message["error"]["code"]), (f"n{id}", -32601))
        self.expect_alive()


class Diagnostics(Product):
    def test_unsaved_text_is_checked_with_its_component(self):
        self.server.open(self.file, GOOD)
        self.assertEqual(self.server.diagnostics(self.file), [])
        self.server.change(self.file, {"text": WITHOUT_SUFFIX})
        [diagnostic] = self.server.diagnostics(self.file)
        self.assertEqual(diagnostic["range"], spot(1, 5, 8))
        self.assertEqual((diagnostic["code"], diagnostic["severity"], diagnostic["source"]), ("feature-without-group-suffix", 1, "eclipse-int"))
        self.assertEqual(diagnostic["message"], 'no repository has "x.a", but one has "x.a.feature.group"\nFix: write x.a.feature.group')
        self.assertEqual(diagnostic["data"]["rule"], "feature-without-group-suffix")
        self.assertNotIn("codeDescription", diagnostic)
        self.assertEqual(self.file.read_text(), GOOD)
        self.server.change(self.file, {"text": HEADER + "sites\tx.a.feature.group\n"})
        self.assertEqual(self.server.codes(self.file), ["repository-missing"])
        self.expect_alive()

    def test_incremental_changes(self):
        self.server.open(self.file, GOOD)
        self.assertEqual(self.server.codes(self.file), [])
        self.server.change(self.file, {"range": spot(1, 8, 22), "text": ""}, {"range": spot(1, 0, 0), "text": "site\tx.b.feature.group\n"})
        [diagnostic] = self.server.diagnostics(self.file)
        self.assertEqual(diagnostic["range"], spot(2, 5, 8))
        self.server.change(self.file, {"range": spot(2, 8, 99), "text": ".feature.group"})
        self.assertEqual(self.server.codes(self.file), [])

    def test_close_clears(self):
        self.server.open(self.file, WITHOUT_SUFFIX)
        self.assertEqual(len(self.server.diagnostics(self.file)), 1)
        self.server.notify("textDocument/didClose", {"textDocument": {"uri": uri(self.file)}})
        del self.server.versions[self.file]
        self.assertEqual(self.server.diagnostics(self.file), [])
        self.expect_alive()

    def test_very_many_findings_are_not_all_shown(self):
        self.server.open(self.file, HEADER + "".join(f"site\tx.{i}\n" for i in range(1500)))
        diagnostics = self.server.diagnostics(self.file)
        self.assertEqual(len(diagnostics), 1001)
        self.assertRegex(diagnostics[-1]["message"], r"^only the first 1000 of \d+ findings are shown here; eclipse-int lint shows all$")

    def test_only_the_last_text_is_checked(self):
        self.server.open(self.file, WITHOUT_SUFFIX)
        for _ in range(50):
            self.server.change(self.file, {"text": WITHOUT_SUFFIX})
            self.server.change(self.file, {"text": GOOD})
        self.assertEqual(self.server.codes(self.file), [])
        published = [each for each in self.server.received if each.get("method") == "textDocument/publishDiagnostics"]
        self.assertLess(len(published), 20)

    def test_a_new_file_is_checked_alone(self):
        new = self.product / "tools/etc/eclipse/new.txt"
        self.server.open(new, HEADER + "nowhere\tx.a\n")
        self.assertEqual(self.server.codes(new), ["feature-without-group-suffix"])
        new.write_text(HEADER)
        self.server.notify("textDocument/didSave", {"textDocument": {"uri": uri(new)}})
        self.assertIn("repository-missing", self.server.codes(new))

    def test_other_open_documents_are_unsaved_too(self):
        """Two files of one component that give a feature different orders."""
        other = HEADER + "site\tx.b.feature.group\n"
        more = self.write("tools/etc/eclipse/z.txt", other)
        self.server.open(self.file, GOOD)
        self.server.open(more, other)
        self.assertEqual(self.server.codes(self.file), [])
        self.assertEqual(self.server.codes(more), [])
        self.server.change(self.file, {"text": HEADER + "site\tx.b.feature.group\t\t5\n"})
        self.assertEqual(self.server.codes(self.file), ["feature-order-conflict"])
        self.server.received.clear()
        self.server.change(more, {"text": GOOD})
        self.assertEqual(self.server.codes(self.file), [])

    def test_the_byte_order_mark_that_an_editor_hides(self):
        self.file.write_bytes(b"\xef\xbb\xbf" + GOOD.encode())
        self.server.open(self.file, GOOD)
        self.assertEqual(self.server.codes(self.file), ["byte-order-mark"])
        self.file.write_text(GOOD)
        self.server.notify("textDocument/didSave", {"textDocument": {"uri": uri(self.file)}})
        self.assertEqual(self.server.codes(self.file), [])

    def test_carriage_returns(self):
        self.server.open(self.file, GOOD.replace("\n", "\r\n"))
        self.assertTrue(self.server.codes(self.file))

    def test_positions_are_in_the_units_of_the_editor(self):
        text = HEADER + "ä😀/../site\tx.a\n"
        for offered, encoding, width in (([], "utf-16", 3), (["utf-32", "utf-16"], "utf-16", 3), (["utf-16", "utf-8"], "utf-8", 6), (["utf-32"], "utf-32", 2)):
            server = Server(capabilities={"general": {"positionEncodings": offered}} if offered else {})
            self.assertEqual(server.initialized["capabilities"]["positionEncoding"], encoding)
            server.open(self.file, text)
            ranges = {each["code"]: each["range"] for each in server.diagnostics(self.file)}
            start = width + len("/../site\t")
            self.assertEqual(ranges["feature-without-group-suffix"], spot(1, start, start + 3))
            server.change(self.file, {"range": spot(1, 0, width + 4), "text": ""}, {"range": spot(1, 8, 8), "text": ".feature.group"})
            self.assertEqual(server.codes(self.file), [], encoding)
            self.assertEqual(server.exit()[0], 0)

    def test_a_file_below_a_link(self):
        (self.product / "link").symlink_to("tools")
        file = self.product / "link/etc/eclipse/tools.txt"
        self.server.open(file, WITHOUT_SUFFIX)
        self.assertEqual(self.server.codes(file), ["feature-without-group-suffix"])


class Sessions(Product):
    def setUp(self):
        super().setUp()
        self.eclipse = self.write("eclipse/eclipse", "#!/bin/sh\n")
        self.eclipse.chmod(0o755)

    def session(self, eclipse, **more):
        variables = {"ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": str(eclipse)}
        component = {"code": "tools", "installBase": ".", "installDir": "tools", "capabilities": ["TOOLS_ECLIPSE_PLUGIN"], "install": True,
                     "package": {"scan": "tools"}, **more}
        return json.dumps({"mode": "install", "variables": variables, "components": [component]}, indent=1)

    def test_a_session_is_checked(self):
        file = self.write("install.json", "")
        self.server.open(file, self.session(self.eclipse))
        self.assertNotIn("capability-descriptor-mismatch", self.server.codes(file))
        self.server.change(file, {"text": self.session(self.eclipse, capabilities=["TOOLS"])})
        self.assertIn("capability-descriptor-mismatch", self.server.codes(file))
        self.expect_alive()

    def test_variables_of_the_command_line_count(self):
        file = self.write("install.json", "")
        text = self.session("/none/eclipse")
        for options, is_unusable in (((), True), (("--set", f"USER_DEFINED_ECLIPSE_PATH={self.eclipse}", "--stdio"), False)):
            server = Server(*options)
            server.open(file, text)
            self.assertEqual("user-eclipse-unusable" in server.codes(file), is_unusable)
            self.assertEqual(server.exit()[0], 0)

    def test_an_error_is_marked_where_it_is(self):
        file = self.product / "new.json"
        self.server.open(file, '{"mode": "install",\n "ä😀": 1, "components": []}')
        [diagnostic] = self.server.diagnostics(file)
        self.assertEqual(diagnostic["range"], spot(1, 1, 2))
        self.assertEqual(diagnostic["severity"], 1)
        self.assertIn("unknown key", diagnostic["message"])
        self.server.change(file, {"text": '{"components": [],\n'})
        [diagnostic] = self.server.diagnostics(file)
        self.assertIn("syntax error", diagnostic["message"])
        self.expect_alive()

    def test_all_errors_are_marked(self):
        file = self.product / "new.json"
        self.server.open(file, '{"mod": "install",\n "graphical": 1,\n "components": [{"code": 2, "installBase": "", "installDir": ""}, 3]}')
        diagnostics = self.server.diagnostics(file)
        self.assertEqual([each["range"] for each in diagnostics], [spot(0, 1, 2), spot(1, 14, 15), spot(2, 25, 26), spot(2, 66, 67)])
        self.assertEqual([each["message"] for each in diagnostics],
                         ['mod: unknown key; did you mean "mode"?',
                          "graphical: expected true or false, found a number; write true or false, without quotes",
                          "components[0].code: expected a string, found a number; write it in double quotes",
                          "components[1]: expected an object, found a number; write it in { }"])

    def test_other_json_is_left_alone(self):
        file = self.product / "package.json"
        self.server.open(file, '{"name": "x"')
        self.assertIsNone(self.server.hover(file, 0, 0))
        self.server.change(file, {"text": '{"components": 1'})
        self.assertEqual(len(self.server.diagnostics(file)), 1)
        self.server.change(file, {"text": '{"parts": 1'})
        self.assertEqual(self.server.diagnostics(file), [])

    def test_a_session_sees_descriptors_that_are_not_saved(self):
        file = self.write("install.json", "")
        self.server.open(file, self.session(self.eclipse))
        self.assertEqual(self.server.codes(file), [])
        self.server.open(self.file, HEADER + "\tx.a.feature.group\n")
        self.assertEqual(self.server.codes(file), ["all-repositories-empty"])


class Hover(Product):
    capabilities = {"textDocument": {"hover": {"contentFormat": ["markdown", "plaintext"]}}}

    def test_the_story_of_a_rule(self):
        self.server.open(self.file, WITHOUT_SUFFIX)
        for character in (5, 8, 0):
            story = self.server.hover(self.file, 1, character)
            self.assertTrue(story.startswith("### feature-without-group-suffix\n"), story)
            self.assertIn("*Fix:* ", story)

    def test_the_story_of_a_column(self):
        self.server.open(self.file, HEADER + "site\tx.a.feature.group\t\t1\n")
        self.server.diagnostics(self.file)
        self.assertIn("### Header", self.server.hover(self.file, 0, 3))
        for character, story in ((0, "Column 1"), (4, "Column 1"), (5, "Column 2")):
            self.assertIn("### " + story, self.server.hover(self.file, 1, character))

    def test_it_waits_for_the_check_of_the_text(self):
        self.server.open(self.file, GOOD)
        self.assertIn("### Column 2", self.server.hover(self.file, 1, 6))
        self.server.change(self.file, {"text": WITHOUT_SUFFIX})
        self.assertIn("### feature-without-group-suffix", self.server.hover(self.file, 1, 6))

    def test_it_can_be_cancelled(self):
        self.server.open(self.file, GOOD)
        id = self.server.request("textDocument/hover", place(self.file, 1, 6))
        self.server.notify("$/cancelRequest", {"id": id})
        self.assertEqual(self.server.answer(id)["error"]["code"], -32800)

    def test_it_ends_with_the_document(self):
        self.server.open(self.file, GOOD)
        id = self.server.request("textDocument/hover", place(self.file, 1, 6))
        self.server.notify("textDocument/didClose", {"textDocument": {"uri": uri(self.file)}})
        self.assertIsNone(self.server.answer(id)["result"])


class CodeActions(Product):
    capabilities = {"workspace": {"workspaceEdit": {"documentChanges": True}}}

    def actions(self, file, line, **context):
        params = {"textDocument": {"uri": uri(file)}, "range": spot(line, 0, 0), "context": {"diagnostics": [], **context}}
        return self.server.result("textDocument/codeAction", params)

    def apply(self, file, text, edits):
        """The text with these edits, which the server has to come to as well."""
        lines = text.split("\n")

        def offset(position):
            return sum(len(line) + 1 for line in lines[:position["line"]]) + position["character"]
        for edit in sorted(edits, key=lambda each: offset(each["range"]["start"]), reverse=True):
            text = text[:offset(edit["range"]["start"])] + edit["newText"] + text[offset(edit["range"]["end"]):]
        return text

    def test_a_fix_is_offered_in_its_line(self):
        self.server.open(self.file, WITHOUT_SUFFIX)
        [action] = self.actions(self.file, 1)
        self.assertEqual(action["kind"], "quickfix")
        self.assertEqual([each["code"] for each in action["diagnostics"]], ["feature-without-group-suffix"])
        [change] = action["edit"]["documentChanges"]
        self.assertEqual(change["textDocument"], {"uri": uri(self.file), "version": 1})
        fixed = self.apply(self.file, WITHOUT_SUFFIX, change["edits"])
        self.assertEqual(fixed, GOOD)
        self.assertEqual(self.actions(self.file, 0), [])
        self.assertEqual(self.actions(self.file, 1, only=["refactor"]), [])
        self.assertEqual(len(self.actions(self.file, 1, only=["quickfix"])), 1)

    def test_fixes_are_for_the_text_that_was_sent_last(self):
        self.server.open(self.file, WITHOUT_SUFFIX)
        self.assertEqual(len(self.actions(self.file, 1)), 1)
        self.server.change(self.file, {"range": spot(0, 0, 0), "text": HEADER})
        self.assertEqual(self.actions(self.file, 1), [])
        [action] = self.actions(self.file, 2)
        self.assertEqual(action["edit"]["documentChanges"][0]["textDocument"]["version"], 2)
        self.server.change(self.file, {"text": GOOD})
        self.assertEqual(self.actions(self.file, 1), [])

    def test_all_fixes_lead_to_a_text_without_findings(self):
        """Byte-order marks apart, which an editor hides."""
        text = "Repository \tFeature\n'site'\tx.a\n\"site\"\t x.b.feature.group \n\t\t\nsub\\site\tx.c.Feature.Group\n"
        self.write("tools/sub/site/content.xml", CONTENT.replace("x.b", "x.c").replace("x.a", "x.d"))
        self.server.open(self.file, text)
        for _ in range(30):
            actions = [action for line in range(text.count("\n")) for action in self.actions(self.file, line)]
            if not actions:
                break
            text = self.apply(self.file, text, actions[0]["edit"]["documentChanges"][0]["edits"])
            self.server.change(self.file, {"text": text})
        self.assertEqual(actions, [])
        self.assertEqual(self.server.codes(self.file), [], text)

    def test_an_editor_without_versions_gets_plain_changes(self):
        server = Server()
        server.open(self.file, "ä😀/../site\tx.a\n")
        params = {"textDocument": {"uri": uri(self.file)}, "range": spot(0, 0, 0), "context": {"diagnostics": []}}
        actions = server.result("textDocument/codeAction", params)
        starts = [edit["range"]["start"] for action in actions for edit in action["edit"]["changes"][uri(self.file)]]
        self.assertIn(starts, [[{"line": 0, "character": 12}], [{"line": 0, "character": 15}]])  # before or after "x.a"
        self.assertEqual(server.exit()[0], 0)

    def fix_all(self, file, only=("source.fixAll",), line=0):
        return [action for action in self.actions(file, line, only=list(only)) if action["kind"] == "source.fixAll"]

    def test_all_safe_fixes_at_once(self):
        text = "Repository \tFeature\n'site'\tx.a.feature.group\t\n\"site\"\t x.b.feature.group \n \t\t\nsite\tx.a.feature.group/1.0\n"
        fixed = HEADER + "site\tx.a.feature.group\nsite\tx.b.feature.group\nsite\tx.a.feature.group/1.0\n"
        self.server.open(self.file, text)
        [action] = self.fix_all(self.file)
        self.assertEqual(sorted(action), ["edit", "kind", "title"])
        self.assertEqual(action["title"], "apply all safe fixes")
        [change] = action["edit"]["documentChanges"]
        self.assertEqual(change["textDocument"], {"uri": uri(self.file), "version": 1})
        self.assertEqual(self.apply(self.file, text, change["edits"]), fixed)
        self.assertEqual(change["edits"][0]["range"], {"start": {"line": 0, "character": 0}, "end": {"line": 4, "character": 0}})
        self.server.change(self.file, {"text": fixed})
        self.assertEqual(self.fix_all(self.file), [])

    def test_all_safe_fixes_are_offered_to_an_editor_that_asks_for_them(self):
        self.server.open(self.file, WITHOUT_SUFFIX)
        for only in (["source"], ["source.fixAll"], [""], ["quickfix", "source.fixAll"], ["refactor", "source"]):
            self.assertEqual(len(self.fix_all(self.file, only)), 1, only)
        for only in (["quickfix"], ["source.fixAll.other"], ["source.organizeImports"], ["refactor"], [], [1]):
            self.assertEqual(self.fix_all(self.file, only), [], only)
        self.assertEqual([action["kind"] for action in self.actions(self.file, 1)], ["quickfix"])
        self.assertEqual([action["kind"] for action in self.actions(self.file, 1, only=["source.fixAll"])], ["source.fixAll"])
        self.assertEqual([action["kind"] for action in self.actions(self.file, 1, only=["quickfix", "source.fixAll"])],
                         ["quickfix", "source.fixAll"])
        self.assertEqual(self.server.initialized["capabilities"]["codeActionProvider"], {"codeActionKinds": ["quickfix", "source.fixAll"]})

    def test_all_safe_fixes_of_texts_without_a_file(self):
        new = self.product / "tools/etc/eclipse/new.txt"
        self.server.open(new, "site \tx.y.feature.group")
        [action] = self.fix_all(new)
        self.assertEqual(self.apply(new, "site \tx.y.feature.group", action["edit"]["documentChanges"][0]["edits"]), "site\tx.y.feature.group")
        self.assertIsNone(self.actions(self.product / "not-open.txt", 0, only=["source.fixAll"]))
        self.file.write_bytes(b"\xef\xbb\xbf" + WITHOUT_SUFFIX.encode())
        self.server.open(self.file, WITHOUT_SUFFIX)
        [action] = self.fix_all(self.file)
        self.assertEqual(self.apply(self.file, WITHOUT_SUFFIX, action["edit"]["documentChanges"][0]["edits"]), GOOD)

    def test_a_later_request_for_all_safe_fixes_replaces_an_earlier_one(self):
        self.server.open(self.file, WITHOUT_SUFFIX)
        other = self.write("other/etc/eclipse/o.txt", WITHOUT_SUFFIX)
        self.write("other/site/content.xml", CONTENT)
        self.server.open(other, WITHOUT_SUFFIX)
        params = {"range": spot(0, 0, 0), "context": {"diagnostics": [], "only": ["source.fixAll"]}}
        ids = [self.server.request("textDocument/codeAction", {"textDocument": {"uri": uri(file)}, **params})
               for file in [other] + [self.file] * 10]
        answers = [self.server.answer(id) for id in ids]
        self.assertEqual([len(answers[0]["result"]), len(answers[-1]["result"])], [1, 1])
        self.assertTrue(all("result" in each or each["error"]["code"] == -32800 for each in answers))

    def test_what_an_editor_hides_it_cannot_replace(self):
        self.file.write_bytes(b"\xef\xbb\xbf" + GOOD.encode())
        self.server.open(self.file, GOOD)
        self.assertEqual(self.server.codes(self.file), ["byte-order-mark"])
        self.assertEqual(self.actions(self.file, 0), [])


class Configuration(Product):
    def setUp(self):
        super().setUp()
        self.configuration = self.write("tools/.eclipse-int.json", '{"rules": {"feature-without-group-suffix": "note"}}')

    def save(self, file, text):
        file.write_text(text)
        self.server.notify("textDocument/didSave", {"textDocument": {"uri": uri(file)}})

    def test_is_followed_and_read_again_when_it_is_saved(self):
        self.server.open(self.file, WITHOUT_SUFFIX)
        self.assertEqual([each["severity"] for each in self.server.diagnostics(self.file)], [3])
        self.save(self.configuration, '{"rules": {"feature-without-group-suffix": "warning"}}')
        self.assertEqual([each["severity"] for each in self.server.diagnostics(self.file)], [2])
        self.save(self.configuration, '{"suppressions": [{"rule": "feature-without-group-suffix", "file": "etc", "reason": "why"}]}')
        self.assertEqual(self.server.diagnostics(self.file), [])
        self.assertEqual(self.actions_of(self.file), [])
        self.configuration.unlink()
        self.server.notify("textDocument/didSave", {"textDocument": {"uri": uri(self.file)}})
        self.assertEqual([each["severity"] for each in self.server.diagnostics(self.file)], [1])

    def actions_of(self, file):
        params = {"textDocument": {"uri": uri(file)}, "range": spot(0, 0, 0), "context": {"diagnostics": [], "only": ["source.fixAll"]}}
        return self.server.result("textDocument/codeAction", params)

    def test_its_errors_are_shown_in_it_and_where_it_counts(self):
        text = '{"rules": {"zebra": "off",\n "lines": "warn"}}'
        self.server.open(self.configuration, text)
        self.assertEqual([(each["range"]["start"], each["message"]) for each in self.server.diagnostics(self.configuration)],
                         [({"line": 0, "character": 11}, 'rules.zebra: there is no rule or group "zebra"; "eclipse-int explain" lists them all'),
                          ({"line": 1, "character": 10}, 'rules.lines: unknown severity "warn"; write "error", "warning", "note" or "off"')])
        self.save(self.configuration, text)
        self.server.open(self.file, GOOD)
        diagnostics = self.server.diagnostics(self.file)
        self.assertEqual([each["range"]["start"]["line"] for each in diagnostics], [0, 0])
        self.assertEqual(diagnostics[0]["message"], f'{self.configuration}:1:12: rules.zebra: there is no rule or group "zebra"; "eclipse-int explain" lists them all')
        self.assertEqual(self.actions_of(self.file), [])
        self.expect_alive()


class OtherConfiguration(Product):
    options = ("--no-config",)

    def test_may_be_ignored(self):
        self.write(".eclipse-int.json", "nothing")
        self.server.open(self.file, WITHOUT_SUFFIX)
        self.assertEqual([each["severity"] for each in self.server.diagnostics(self.file)], [1])

    def test_may_be_named(self):
        named = self.write("named.json", '{"rules": {"features": "warning"}}')
        server = Server("--config", str(named))
        server.open(self.file, WITHOUT_SUFFIX)
        self.assertEqual([each["severity"] for each in server.diagnostics(self.file)], [2])
        self.assertEqual(server.exit()[0], 0)


class Options(unittest.TestCase):
    def test_wrong_values_are_usage_errors(self):
        for options, error in ((("--set", "KORU_MODE=wrong"), '--set: KORU_MODE is "wrong"; write "install", "modify" or "uninstall"'),
                               (("--set", "X"), '--set: "X" is not NAME=VALUE; write the variable\'s name, an equals sign and its value'),
                               (("--variables", "/missing"), "/missing: cannot be read: No such file or directory; give the path of a JSON file")):
            done = subprocess.run([ECLIPSE_INT, "language-server", *options], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                                  timeout=PATIENCE, check=False)
            self.assertEqual((done.returncode, done.stdout, done.stderr.splitlines()[0]), (2, "", "eclipse-int: " + error))


class Completion(Product):
    def setUp(self):
        super().setUp()
        self.write("tools/more/ä 😀/content.xml", CONTENT)
        self.server.open(self.file, HEADER + "si\nsite\tx.\nnowhere\tx.\nmore/ä 😀\t\textra\n")

    def test_sites_below_the_component(self):
        self.assertEqual(self.server.items(self.file, 1, 2), ["more/ä 😀", "site"])
        self.assertEqual(self.server.items(self.file, 1, 0), ["more/ä 😀", "site"])

    def test_features_of_the_site(self):
        self.assertEqual(self.server.items(self.file, 2, 7), ["x.a.feature.group", "x.b.feature.group"])
        self.assertEqual(self.server.items(self.file, 4, 10), ["x.a.feature.group", "x.b.feature.group"])
        self.assertEqual(self.server.items(self.file, 3, 8), [])

    def test_nothing_elsewhere(self):
        self.assertEqual(self.server.items(self.file, 4, 13), [])
        self.assertEqual(self.server.items(self.file, 99, 99), ["more/ä 😀", "site"])

    def test_an_item_replaces_the_column(self):
        items = self.server.result("textDocument/completion", place(self.file, 2, 6))["items"]
        self.assertEqual(items[0]["textEdit"], {"range": spot(2, 5, 7), "newText": "x.a.feature.group"})
        self.assertEqual(items[0]["detail"], "1.2.3")
        items = self.server.result("textDocument/completion", place(self.file, 4, 10))["items"]
        self.assertEqual(items[0]["textEdit"]["range"], spot(4, 10, 10))
        items = self.server.result("textDocument/completion", place(self.file, 4, 1))["items"]
        self.assertEqual(items[0]["textEdit"]["range"], spot(4, 0, 9))

    def test_a_feature_has_its_highest_version(self):
        units = "".join(f"<unit id='x.a.feature.group' version='{version}'/>" for version in ("1.9.0", "1.10.0"))
        self.write("tools/site/content.xml", f"<repository><units>{units}</units></repository>")
        items = self.server.result("textDocument/completion", place(self.file, 2, 6))["items"]
        self.assertEqual([item["detail"] for item in items], ["1.10.0"])

    def test_a_later_request_replaces_an_earlier_one(self):
        ids = [self.server.request("textDocument/completion", place(self.file, 1, 1)) for _ in range(20)]
        answers = [self.server.answer(id) for id in ids]
        self.assertEqual(len(answers[-1]["result"]["items"]), 2)
        self.assertTrue(all("result" in each or each["error"]["code"] == -32800 for each in answers))


class LongChecks(Product):
    options = ("--time-limit", "2")

    def test_they_are_stopped(self):
        self.server.open(self.file, LONG)
        start = time.monotonic()
        self.assertEqual(self.server.error("x/unknown", None), -32601)
        self.assertEqual(self.server.diagnostics(self.file), [])
        self.assertLess(time.monotonic() - start, 30)
        log = self.server.wait_for(lambda each: each.get("method") == "window/logMessage")["params"]
        self.assertTrue(log["message"].endswith("tools.txt: the check took longer than 2 s and was stopped, so no findings are shown; "
                                                "--time-limit allows more"), log["message"])
        self.server.change(self.file, {"text": WITHOUT_SUFFIX})
        self.assertEqual(self.server.codes(self.file), ["feature-without-group-suffix"])


if __name__ == "__main__":
    ECLIPSE_INT = sys.argv.pop(1)
    unittest.main()
