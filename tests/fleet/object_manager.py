"""A stand-in for the object managers of many tills: one loopback port, each till a user name of HTTP's
basic authentication. In recorded/ is what sfcb 1.3.19 and OpenPegasus 2.14.4 answered with this provider
on simulator/machines/till.json; what is made here has their form (CIM-XML of DMTF's DSP0200 and DSP0201).
"""

import base64
import http.server
import socketserver
import threading
import time
import xml.sax.saxutils

PROPERTIES = (
    ("Caption", "string"),
    ("CreationClassName", "string"),
    ("Description", "string"),
    ("DeviceID", "string"),
    ("DriveFirmwareVersion", "string"),
    ("DriveModel", "string"),
    ("DriveSerialNumber", "string"),
    ("PhysicalDrive", "string"),
    ("PoweredOnHours", "uint64"),
    ("PercentageUsed", "uint8"),
    ("PercentageUsedSource", "uint8"),
    ("FailureImminent", "boolean"),
)


def message(content):
    return (
        '<?xml version="1.0" encoding="utf-8" ?>\n<CIM CIMVERSION="2.0" DTDVERSION="2.0">\n'
        '<MESSAGE ID="4711" PROTOCOLVERSION="1.0">\n<SIMPLERSP>\n<IMETHODRESPONSE NAME="EnumerateInstances">\n'
        f"{content}</IMETHODRESPONSE>\n</SIMPLERSP>\n</MESSAGE>\n</CIM>"
    )


def instance(model, serial, device, used, hours=7310, source=2, firmware="SBM02103", imminent=False):
    escape = xml.sax.saxutils.escape
    identifier = f"{model}___{serial}___{device}"
    values = {
        "Caption": f"SSD Life Monitor ({identifier})",
        "CreationClassName": "KAV_SSDLifeMonitor",
        "Description": f"SSD Life Monitor of {model}, {serial}, {device}",
        "DeviceID": identifier,
        "DriveFirmwareVersion": firmware,
        "DriveModel": model,
        "DriveSerialNumber": serial,
        "PhysicalDrive": device,
        "PoweredOnHours": hours,
        "PercentageUsed": used,
        "PercentageUsedSource": source,
        "FailureImminent": "TRUE" if imminent else "FALSE",
    }
    properties = "".join(
        f'<PROPERTY NAME="{name}" TYPE="{kind}"><VALUE>{escape(str(values[name]))}</VALUE></PROPERTY>\n'
        for name, kind in PROPERTIES
    )
    return (
        '<VALUE.NAMEDINSTANCE>\n<INSTANCENAME CLASSNAME="KAV_SSDLifeMonitor">\n<KEYBINDING NAME="DeviceID">\n'
        f'<KEYVALUE VALUETYPE="string">{escape(identifier)}</KEYVALUE>\n</KEYBINDING>\n</INSTANCENAME>\n'
        f'<INSTANCE CLASSNAME="KAV_SSDLifeMonitor">\n{properties}</INSTANCE>\n</VALUE.NAMEDINSTANCE>\n'
    )


def instances(*drives):
    return message("<IRETURNVALUE>\n" + "".join(instance(**drive) for drive in drives) + "</IRETURNVALUE>\n").encode()


FAILED = message('<ERROR CODE="1" DESCRIPTION="A general error occurred that is not covered by a more specific error code."/>\n').encode()


class Server(socketserver.ThreadingMixIn, http.server.HTTPServer):
    """`answers` maps a till to bytes, to a function that returns them, to a number of seconds that it
    sleeps before it hangs up, or to None: it hangs up."""

    daemon_threads = True
    request_queue_size = 512

    def __init__(self, answers):
        self.answers = answers
        super().__init__(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.serve_forever, daemon=True).start()


class Handler(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        self.rfile.read(int(self.headers["Content-Length"]))
        user = base64.b64decode(self.headers.get("Authorization", "").removeprefix("Basic ")).decode()
        answer = self.server.answers.get(user.partition(":")[0])
        if callable(answer):
            answer = answer()
        try:
            if isinstance(answer, (int, float)):
                time.sleep(answer)
            elif answer is not None:
                self.send_response(200)
                self.send_header("Content-Type", 'application/xml; charset="utf-8"')
                self.send_header("CIMOperation", "MethodResponse")
                self.send_header("Content-Length", str(len(answer)))
                self.end_headers()
                self.wfile.write(answer)
        except OSError:
            pass  # the collector has given up

    def log_message(self, *_):
        pass
