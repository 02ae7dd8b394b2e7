"""A portal that answers when it is told to: python3 portal.py FOLDER ANSWER

Writes its port to FOLDER/port, and gives the answer to whoever asks once there is a file FOLDER/answer.
"""

import http.server
import pathlib
import sys
import time

folder, answer = pathlib.Path(sys.argv[1]), sys.argv[2].encode()


class Portal(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        while not (folder / "answer").exists():
            time.sleep(0.05)
        self.send_response(200)
        self.send_header("Content-Length", str(len(answer)))
        self.end_headers()
        self.wfile.write(answer)

    do_POST = do_GET

    def log_message(self, *_):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Portal)
(folder / "port.new").write_text(str(server.server_port))
(folder / "port.new").rename(folder / "port")
server.serve_forever()
