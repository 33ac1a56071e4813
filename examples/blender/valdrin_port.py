"""Answers on Valdrin's command port inside Blender.

With a window: install this file as an add-on (Edit > Preferences > Add-ons >
Install) and tick it. Requests then run on the main thread, from a timer.

Without a window Blender has no event loop, and this file serves the requests
itself until it is stopped:

    blender --background --python valdrin_port.py -- --port 32153

Requests see what a script in Blender's own console sees, and picture().
"""

import ast
import base64
import os
import queue
import shlex
import signal
import sys
import tempfile

import bpy

bl_info = {
    "name": "Valdrin command port",
    "author": "Norvex",
    "version": (1, 0, 0),
    "blender": (3, 0, 0),
    "category": "System",
    "description": "Lets allowed web pages and programs run Python here",
}

# Where the package `valdrin` may be: beside this file in the sources, or where
# an installation puts it.
_HERE = os.path.dirname(os.path.realpath(__file__))
sys.path += [
    os.path.join(_HERE, "..", "..", "python"),
    os.path.expanduser("~/.local/share/valdrin/python"),
    "/usr/local/share/valdrin/python",
    "/usr/share/valdrin/python",
]

import valdrin  # noqa: E402

SECONDS_BETWEEN_LOOKS = 0.02


def picture(width=160, height=120, engine="BLENDER_WORKBENCH"):
    """The scene as seen by its camera: a PNG file as base64 text."""
    render = bpy.context.scene.render
    kept = {
        name: getattr(render, name)
        for name in (
            "engine",
            "filepath",
            "resolution_x",
            "resolution_y",
            "resolution_percentage",
        )
    }
    kept_format = render.image_settings.file_format
    with tempfile.TemporaryDirectory() as folder:
        try:
            render.engine = engine
            render.filepath = os.path.join(folder, "picture.png")
            render.resolution_x = width
            render.resolution_y = height
            render.resolution_percentage = 100
            render.image_settings.file_format = "PNG"
            bpy.ops.render.render(write_still=True)
            with open(render.filepath, "rb") as file:
                return base64.b64encode(file.read()).decode("ascii")
        finally:
            render.image_settings.file_format = kept_format
            for name, value in kept.items():
                setattr(render, name, value)


def run_operator(command):
    """Runs lines such as "mesh.primitive_cube_add size=2 location=(0,0,1)"."""
    for line in command.splitlines():
        name, *words = shlex.split(line, comments=True) or [""]
        if not name:
            continue
        group, _, operator = name.partition(".")
        arguments = {}
        for word in words:
            key, equals, value = word.partition("=")
            if not equals:
                raise ValueError(f'"{word}" should be NAME=VALUE')
            try:
                arguments[key] = ast.literal_eval(value)
            except (ValueError, SyntaxError):
                arguments[key] = value
        if operator not in dir(getattr(bpy.ops, group)):
            raise ValueError(f'there is no operator "{name}"')
        getattr(getattr(bpy.ops, group), operator)(**arguments)
    return ""


def open_port(jobs, number=valdrin.DEFAULT_PORT):
    """A port that puts each request into the queue `jobs`."""
    namespace = {"__name__": "__valdrin__", "bpy": bpy, "picture": picture}
    return valdrin.CommandPort(
        namespace, number, dispatch=jobs.put, run_command=run_operator
    )


# ---- With a window


# Its put() is safe in a signal handler.
_jobs = queue.SimpleQueue()
_port = None


def _run_waiting_jobs():
    """Called by Blender's timer on the main thread."""
    while not _jobs.empty():
        _jobs.get()()
    return SECONDS_BETWEEN_LOOKS


def register():
    global _port
    _port = open_port(_jobs)
    bpy.app.timers.register(_run_waiting_jobs, persistent=True)


def unregister():
    bpy.app.timers.unregister(_run_waiting_jobs)
    _port.close(grace=0)


# ---- Without a window


def serve(number):
    """Runs requests on this thread until SIGTERM or SIGINT comes."""
    for stop in (signal.SIGTERM, signal.SIGINT):
        signal.signal(stop, lambda *_: _jobs.put(None))
    with open_port(_jobs, number) as port:
        print(f"listening on 127.0.0.1:{port.port}", flush=True)
        while True:
            job = _jobs.get()
            if job is None:
                return
            job()


def main():
    arguments = sys.argv[sys.argv.index("--") + 1 :]
    if arguments[:1] != ["--port"] or len(arguments) != 2:
        sys.exit("usage: blender --background --python FILE -- --port NUMBER")
    serve(int(arguments[1]))


if __name__ == "__main__" and bpy.app.background:
    main()
