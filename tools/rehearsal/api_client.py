"""A bare client of the agent's API, for whoever asks what `hvctl` wouldn't."""

import http.client
import json
import ssl

PATIENCE_SECONDS = 60
HEADERS = {'Content-Type': 'application/json', 'Accept': 'application/json'}


def request_body(operation, document):
    return json.dumps({
        'jsonrpc': '2.0', 'id': '1', 'method': 'invoke',
        'params': {'serviceId': 'halvard.migrator', 'operationId': operation,
                   'input': {'STRUCTURE': {'operation-input': {'json': json.dumps(document)}}},
                   'ctx': {'appCtx': {}, 'securityCtx': {}}}})


def trusting_context():
    # Without the host's list of authorities, which takes longer to read than all of a session.
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
    context.check_hostname = False
    context.verify_mode = ssl.CERT_NONE
    return context


class Client:
    """Keeps what was asked and answered, in order: the operation and the document of its reply."""

    def __init__(self, host, port, user, password):
        self._address = (host, port)
        self._credentials = {'locale': 'en', 'sso_username': user, 'sso_password': password}
        self._context = trusting_context()
        self.replies = []

    def call(self, operation, **members):
        """The reply's document. Raises OSError or ValueError when there is none."""
        try:
            reply = self._ask(request_body(operation, {**self._credentials, **members}))
        except (OSError, ValueError, KeyError, http.client.HTTPException) as failure:
            self.replies.append((operation, failure))
            raise OSError(f'{operation}: {failure}') from failure
        self.replies.append((operation, reply))
        return reply

    def _ask(self, body):
        connection = http.client.HTTPSConnection(*self._address, timeout=PATIENCE_SECONDS,
                                                 context=self._context)
        try:
            connection.request('POST', '/api', body, HEADERS)
            answer = json.loads(connection.getresponse().read())
            return json.loads(answer['result']['output'])
        finally:
            connection.close()
