"""A relay that keeps back what a client says."""

import socket
import threading


class Relay:
    """Passes one connection on to a server, from `port` of this machine."""

    def __init__(self, server):
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        self._server = server
        self._sockets = []
        self._awaits_answer = threading.Event()
        self._has_answer = threading.Event()
        self._is_kept = threading.Event()
        self._goes_on = threading.Event()
        threading.Thread(target=self._accept, daemon=True).start()

    def hold_after_an_answer(self):
        """Keeps back what the client says once the server has answered it."""
        self._awaits_answer.set()

    def holds(self):
        """Whether the client has said something that is kept back."""
        return self._is_kept.is_set()

    def go_on(self):
        """Passes on what was kept back, and all that follows."""
        self._goes_on.set()

    def close(self):
        self._goes_on.set()
        self._listener.close()
        for end in self._sockets:
            end.close()

    def _accept(self):
        client, _ = self._listener.accept()
        server = socket.create_connection(self._server)
        self._sockets = [client, server]
        threading.Thread(target=self._pass_answers, args=(server, client), daemon=True).start()
        self._pass(client, server, self._keep)

    def _pass_answers(self, server, client):
        self._pass(server, client, self._note_answer)

    def _note_answer(self):
        if self._awaits_answer.is_set():
            self._has_answer.set()

    def _keep(self):
        if self._has_answer.is_set():
            self._is_kept.set()
            self._goes_on.wait()

    @staticmethod
    def _pass(source, target, before):
        try:
            while data := source.recv(65536):
                before()
                target.sendall(data)
            target.shutdown(socket.SHUT_WR)
        except OSError:  # one end is closed
            pass
