"""What this page asks of the application. Sent when the page opens.

Applications differ in how their objects are reached: there is one class for
each, and the page calls nothing else.
"""

import json
import time

try:
    import bpy
except ImportError:
    bpy = None


class Scene:
    """What the page calls, whatever the application."""

    def show(self, name=None, x=0.0, width=320, height=192):
        """Moves the object `name` to `x`, if it is given. The reply is JSON."""
        start = time.perf_counter()
        if name is not None:
            self.move(name, x)
        reply = {
            "objects": self.objects(),
            "picture": self.picture(width, height),
        }
        reply["milliseconds"] = (time.perf_counter() - start) * 1000
        return json.dumps(reply)


class BlenderScene(Scene):
    """The scene that is open in Blender."""

    application = bpy and f"Blender {bpy.app.version_string}"

    def objects(self):
        return [
            {
                "name": thing.name,
                "kind": thing.type.capitalize(),
                "size": max(thing.dimensions),
                "place": list(thing.location),
            }
            for thing in bpy.context.scene.objects
        ]

    def move(self, name, x):
        bpy.context.scene.objects[name].location.x = x

    def picture(self, width, height):
        """A PNG file as base64 text, by the function of the add-on."""
        return picture(width, height) if bpy.context.scene.camera else None


class PlainScene(Scene):
    """Four spheres, for an application that has no scene."""

    application = "An application without a scene"

    def __init__(self):
        self.spheres = {
            name: {
                "name": name,
                "kind": "Sphere",
                "size": size,
                "place": place,
            }
            for name, size, place in (
                ("Größe", 3.0, [-2.5, 0.0, 0.4]),
                ("Ключ", 2.2, [3.0, 2.0, 0.0]),
                ("Σφαίρα", 1.6, [5.5, -2.0, 0.8]),
                ("Lune", 1.0, [-6.0, 3.0, 0.6]),
            )
        }

    def objects(self):
        return list(self.spheres.values())

    def move(self, name, x):
        self.spheres[name]["place"][0] = x

    def picture(self, width, height):
        return None  # the page draws one from the numbers


# A page that is loaded again finds the spheres where they were.
if "page" not in globals():
    page = BlenderScene() if bpy else PlainScene()
