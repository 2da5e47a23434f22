"""Reads exports with Open3D: a wall that was recorded comes out flat, square and at its distance.

Usage: read_with_open3d.py DEPTHRW. Ends with 77 where Open3D is not installed.
"""

import pathlib
import subprocess
import sys
import tempfile

try:
    import numpy as np
    import open3d as o3d
except ImportError as error:
    print(f"there is no Open3D for this Python: {error}")
    sys.exit(77)

WIDTH, HEIGHT = 640, 480
FOCAL, COLUMN, ROW = 533.0, 320.0, 240.0  # of camera type 1
HALF_WIDTH, HALF_HEIGHT = 0.6, 0.4  # of the wall, metres
DISTANCE = 2.0  # of its middle
SLOPE = 0.3  # it comes nearer to the left: z = DISTANCE + SLOPE * x
TOLERANCE = 0.036  # of the recording from 2 m to 3 m, with half a code step and a millimetre


def make_images(directory):
    """A tilted wall, red on the left and blue on the right, before nothing."""
    columns, rows = np.meshgrid(np.arange(WIDTH), np.arange(HEIGHT))
    right, down = (columns - COLUMN) / FOCAL, (rows - ROW) / FOCAL
    z = DISTANCE / (1 - SLOPE * right)
    on_wall = (np.abs(right * z) <= HALF_WIDTH) & (np.abs(down * z) <= HALF_HEIGHT)
    depth = np.where(on_wall, np.round(z * 1000), 0).astype(np.uint16)
    colour = np.zeros((HEIGHT, WIDTH, 3), np.uint8)
    colour[on_wall & (right < 0)] = (200, 20, 20)
    colour[on_wall & (right >= 0)] = (20, 20, 200)
    for name, image in (("depth", depth), ("rgb", colour)):
        (directory / name).mkdir()
        o3d.io.write_image(str(directory / name / "0.png"), o3d.geometry.Image(image))
    (directory / "scale").write_text("1000\n")


def check_wall(cloud, up, forward):
    """`up` and `forward` are the signs of y upwards and of z ahead."""
    points, colours = np.asarray(cloud.points), np.asarray(cloud.colors)
    x, down, z = points[:, 0], -up * points[:, 1], forward * points[:, 2]
    assert len(points) > 50000, len(points)
    assert cloud.has_colors()

    plane, inliers = cloud.segment_plane(distance_threshold=TOLERANCE, ransac_n=3, num_iterations=500)
    assert len(inliers) > 0.999 * len(points), (len(inliers), len(points))
    residual = z - (DISTANCE + SLOPE * x)
    assert np.abs(residual).max() < TOLERANCE, np.abs(residual).max()
    assert np.sqrt(np.mean(residual**2)) < 0.012, np.sqrt(np.mean(residual**2))
    normal = np.array(plane[:3]) / np.linalg.norm(plane[:3])
    wanted = np.array([SLOPE, 0, -forward]) / np.hypot(SLOPE, 1)
    assert abs(np.dot(normal, wanted)) > np.cos(np.radians(1)), (normal, wanted)

    # A pixel is 4 mm wide there; the error of the depth moves the edges, too.
    edge = 0.004 + HALF_WIDTH * TOLERANCE / DISTANCE
    for coordinate, half in ((x, HALF_WIDTH), (down, HALF_HEIGHT)):
        assert abs(coordinate.min() + half) < edge, (coordinate.min(), half)
        assert abs(coordinate.max() - half) < edge, (coordinate.max(), half)
    # Square: its left and its right edge are as high as each other, and upright.
    for side in (x < -HALF_WIDTH + 0.02, x > HALF_WIDTH - 0.02):
        assert abs((down[side].max() - down[side].min()) - 2 * HALF_HEIGHT) < 2 * edge

    left = (x < -0.05) & (x > -0.5) & (np.abs(down) < 0.3)
    right = (x > 0.05) & (x < 0.5) & (np.abs(down) < 0.3)
    assert np.mean(colours[left], axis=0)[0] > 0.6 > 0.3 > np.mean(colours[left], axis=0)[2]
    assert np.mean(colours[right], axis=0)[2] > 0.6 > 0.3 > np.mean(colours[right], axis=0)[0]
    return points


def main():
    program = sys.argv[1]

    def depthrw(*arguments):
        subprocess.run([program, *map(str, arguments)], check=True, stdout=subprocess.DEVNULL)

    with tempfile.TemporaryDirectory() as place:
        place = pathlib.Path(place)
        (place / "images").mkdir()
        make_images(place / "images")
        recording = place / "rec"
        depthrw("record", "--out", recording, "--camera-type", 1, "--source", f"images:{place}/images",
                "--layout", "flat")
        depthrw("export", recording, "--to", "ply", "--out", place / "camera")
        depthrw("export", recording, "--to", "ply", "--axes", "gl", "--out", place / "gl")
        depthrw("export", recording, "--to", "open3d", "--out", place / "open3d")

        camera = o3d.io.read_point_cloud(str(place / "camera/clouds/00000000.ply"))
        points = check_wall(camera, up=-1, forward=1)
        check_wall(o3d.io.read_point_cloud(str(place / "gl/clouds/00000000.ply")), up=1, forward=-1)

        # Open3D's own way from images and intrinsics to points gives the same cloud.
        intrinsic = o3d.io.read_pinhole_camera_intrinsic(str(place / "open3d/intrinsic.json"))
        assert (intrinsic.width, intrinsic.height) == (WIDTH, HEIGHT)
        image = o3d.geometry.RGBDImage.create_from_color_and_depth(
            o3d.io.read_image(str(place / "open3d/color/00000000.png")),
            o3d.io.read_image(str(place / "open3d/depth/00000000.png")),
            depth_scale=1000, depth_trunc=100, convert_rgb_to_intensity=False)
        own = o3d.geometry.PointCloud.create_from_rgbd_image(image, intrinsic)
        own_points = check_wall(own, up=-1, forward=1)
        assert own_points.shape == points.shape
        assert np.abs(own_points - points).max() < 0.001, np.abs(own_points - points).max()
    print("Open3D reads the clouds and the images; the wall is flat, square and in its place")


main()
