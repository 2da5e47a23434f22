"""Records the depth maps of an RGB-D camera with its colour images, and reads recordings.

    import camera_depth_rw

    with camera_depth_rw.open_recording("recording") as recording:
        for frame in recording["2013-04-05T14:07":"2013-04-05T14:09"]:
            print(frame.time, frame.depth[frame.valid].min())

What the library says goes to the logger ``camera_depth_rw``. Nothing ever waits for a key.
"""

from camera_depth_rw._errors import ArgumentError, CameraDepthError, NotFoundError, StorageError
from camera_depth_rw._files import read_frame, write_frame
from camera_depth_rw._frame import Frame, Intrinsics, intrinsics_of_camera
from camera_depth_rw._native import version as __version__
from camera_depth_rw._recorder import NumberedRecorder, TreeRecorder
from camera_depth_rw._recording import Recording, open_recording

__all__ = [
    "ArgumentError",
    "CameraDepthError",
    "Frame",
    "Intrinsics",
    "NotFoundError",
    "NumberedRecorder",
    "Recording",
    "StorageError",
    "TreeRecorder",
    "__version__",
    "intrinsics_of_camera",
    "open_recording",
    "read_frame",
    "write_frame",
]
