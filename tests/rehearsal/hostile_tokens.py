"""Pieces that mean something to the reader of a protocol, put where they don't belong."""

BER_TOKENS = (b'\x30\x80', b'\x30\x84\xff\xff\xff\xff', b'\x30\x84\x7f\xff\xff\xff', b'\x04\x00',
              b'\x30\x82\xff\xff', b'\x0a\x01\x0a', b'\x02\x04\x7f\xff\xff\xff', b'\x30' * 64,
              # The server says goodbye, refers to another, names an attribute that is no text.
              b'\x30\x24\x02\x01\x00\x78\x1f\x0a\x01\x02\x04\x00\x04\x00\x8a\x16'
              b'1.3.6.1.4.1.1466.20036',
              b'\x30\x1a\x02\x01\x01\x61\x15\x0a\x01\x0a\x04\x00\x04\x00\xa3\x0c\x04\x0aldap://x/y',
              b'\x30\x12\x02\x01\x01\x64\x0d\x04\x00\x30\x09\x30\x07\x04\x01\xff\x31\x02\x04\x00')
SOAP_TOKENS = (b'Content-Length: 99999999999999999999\r\n', b'Content-Length: -1\r\n', b'\r\n\r\n',
               b'Transfer-Encoding: chunked\r\n', b'\r\nffffffffffffffff\r\n', b'\r\n0\r\n\r\n',
               b'Set-Cookie: zelmo_session="\r\n', b'HTTP/1.1 100 Continue\r\n\r\n', b'\r\nX: ',
               b'HTTP/1.1 302 Found\r\nLocation: https://localhost/\r\n\r\n', b'<a>' * 100, b'</', b'<',
               b'<!DOCTYPE a [<!ENTITY b "c">]>', b'&#0;', b'&#xD800;', b'&b;', b'<![CDATA[', b'<!--',
               b'-1', b'99999999999999999999', b'\xff\xfe', b'\xc0\x80', b'xmlns="urn:other"', b'%s%n')
SSH_TOKENS = (b'SSH-2.0-x\r\n', b'SSH-1.5-x\n', b'SSH-2.0-' + b'x' * 300, b'hello\r\n', b'\r\n', b'\0',
              b'\x00\x00\x00\x0c\x0a\x14', b'\xff\xff\xff\xff', b'\x00\x00\x00\x00',
              # Disconnect, ignore, debug, unimplemented; each in a packet of its own.
              b'\x00\x00\x00\x14\x06\x01' + b'\x00\x00\x00\x02' + b'\xff\xff\xff\xff' + b'\0' * 9,
              b'\x00\x00\x00\x0c\x06\x02' + b'\x7f\xff\xff\xff' + b'\0' * 6,
              b'\x00\x00\x00\x0c\x05\x04\x01' + b'\xff\xff\xff\xff' + b'\0' * 5,
              b'\x00\x00\x00\x0c\x0a\x03' + b'\0' * 10)
JSON_TOKENS = (b'null', b'true', b'[]', b'{}', b'""', b'-1', b'1e999', b'99999999999999999999',
               b'"\\ud800"', b'"\\u0000"', b'\xff', b'\xed\xa0\x80', b'[' * 500, b'{"a":' * 500, b'"question":',
               b'"status":"success",', b'"reply_file":"..\\\\x"', b'/*', b'//', b'\xef\xbb\xbf')
