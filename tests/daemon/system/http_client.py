"""A client of the HTTP API that holds every answer against the description."""

import gzip
import http.client
import json
import os
import ssl

import jsonschema

import daemons_of_host

API = "/api/ZEVO.Core.CurrentConnection/1/"


def description():
    """The OpenAPI document of the source tree."""
    with open(os.path.join(daemons_of_host.SOURCES, "calls/openapi.json"), encoding="utf-8") as file:
        return json.load(file)


_DESCRIPTION = description()
_WEB_SERVERS_OWN = (403, 411, 413, 503)  # what a web server answers for itself, with a page


class Answer:
    """Status, header lines and body of one answer."""

    def __init__(self, status, headers, body):
        self.status = status
        self.headers = headers
        self.body = body

    @property
    def json(self):
        """The body as JSON."""
        return json.loads(self.body)

    @property
    def data(self):
        """What a success carries."""
        return self.json["data"]

    @property
    def code(self):
        """The problem's code; 0 on success."""
        return self.json["code"] if self.status != 200 else 0


def check(method, path, answer):
    """Fails where the description does not allow this answer."""
    kind = answer.headers.get("Content-Type", "").split(";")[0]
    is_ours = path.startswith("/api/") and not path.startswith("/api/Test/")
    if not is_ours or kind == "text/html" and answer.status in _WEB_SERVERS_OWN:
        return
    responses = _responses(method, path)
    if str(answer.status) not in responses:
        raise AssertionError(f"{method} {path} answered {answer.status}, which the description does not know")
    response = _resolved(responses[str(answer.status)])
    if kind not in response["content"]:
        raise AssertionError(f"{method} {path} answered {answer.status} with {kind}")
    if "json" in kind:
        _validate(answer.json, response["content"][kind]["schema"])
    for name, header in response.get("headers", {}).items():
        value = answer.headers.get(name)
        if value is not None or header.get("required"):
            _validate(int(value) if header["schema"]["type"] == "integer" else value, header["schema"])
    if answer.status == 405:
        described = {name.upper() for name in _DESCRIPTION["paths"][path]}
        if set(answer.headers["Allow"].split(", ")) != described:
            raise AssertionError(f"{path} takes {answer.headers['Allow']}, the description says {described}")


def _responses(method, path):
    item = _DESCRIPTION["paths"].get(path, {})
    if method.lower() in item:
        return item[method.lower()]["responses"]
    # Whatever is not described is answered like this.
    names = {"400": "Malformed", "403": "Forbidden"}
    names |= {"405": "WrongMethod"} if item else {"404": "NotFound"}
    return {status: {"$ref": f"#/components/responses/{name}"} for status, name in names.items()}


def _validate(value, schema):
    # References are relative to the whole document.
    jsonschema.Draft202012Validator({**_DESCRIPTION, **schema}).validate(value)


def _resolved(node):
    while "$ref" in node:
        target = _DESCRIPTION
        for part in node["$ref"].removeprefix("#/").split("/"):
            target = target[part]
        node = target
    return node


class Client:
    """One browser: it keeps its cookie, and comes from the address that it calls."""

    def __init__(self, address="127.0.0.1", port=daemons_of_host.PLAIN_PORT, tls=False):
        self._address = address
        self._port = port
        self._context = ssl._create_unverified_context() if tls else None
        self.cookie = None

    def call(self, method, path, body=None, headers=None, timeout=60):
        """One request; `body` that is no bytes goes as JSON."""
        sent = {"Cookie": self.cookie} if self.cookie else {}
        if body is not None and not isinstance(body, bytes):
            body = json.dumps(body).encode()
            sent["Content-Type"] = "application/json"
        sent |= headers or {}
        if self._context:
            connection = http.client.HTTPSConnection(self._address, self._port, timeout=timeout, context=self._context)
        else:
            connection = http.client.HTTPConnection(self._address, self._port, timeout=timeout)
        try:
            connection.request(method, path, body, sent)
            response = connection.getresponse()
            answer = Answer(response.status, response.headers, response.read())
        finally:
            connection.close()
        if answer.headers.get("Content-Encoding") == "gzip":
            answer.body = gzip.decompress(answer.body)
        self._keep_cookie(answer)
        check(method, path.split("?")[0], answer)
        return answer

    def get(self, path, **options):
        """GET of a path, or of a method of the API."""
        return self.call("GET", path if path.startswith("/") else API + path, **options)

    def post(self, path, body=None, **options):
        """POST to a path, or to a method of the API."""
        return self.call("POST", path if path.startswith("/") else API + path, {} if body is None else body, **options)

    def log_in(self, name, password):
        """POST /api/login."""
        return self.post("/api/login", {"name": name, "password": password})

    def _keep_cookie(self, answer):
        given = answer.headers.get("Set-Cookie")
        if given:
            pair = given.split(";")[0]
            self.cookie = None if pair.endswith("=") else pair
