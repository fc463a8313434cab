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
    with open(os.path.join(daemons_of_host.SOURCES, "host/openapi.json"), encoding="utf-8") as file:
        return json.load(file)


_DESCRIPTION = description()
_WEB_SERVERS_OWN = (411, 413, 503)  # what a web server answers for itself, with a page


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


def check(method, path, status, content_type, body):
    """Fails where the description does not allow this answer."""
    item = _DESCRIPTION["paths"].get(path)
    if item is None or method.lower() not in item:
        return
    if status in _WEB_SERVERS_OWN and content_type.startswith("text/html"):
        return
    responses = item[method.lower()]["responses"]
    if str(status) not in responses:
        raise AssertionError(f"{method} {path} answered {status}, which the description does not know")
    response = _resolved(responses[str(status)])
    kind = content_type.split(";")[0]
    if kind not in response["content"]:
        raise AssertionError(f"{method} {path} answered {status} with {kind}")
    if "json" in kind:
        # References are relative to the whole document.
        schema = {**_DESCRIPTION, **response["content"][kind]["schema"]}
        jsonschema.Draft202012Validator(schema).validate(json.loads(body))


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
        check(method, path.split("?")[0], answer.status, answer.headers.get("Content-Type", ""), answer.body)
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
