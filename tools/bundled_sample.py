"""The bundled two-hour sample in data/sample and the ppprun arguments that
read it, shared by the tools that run ppprun on it."""
import gzip
import os

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SAMPLE_DIR = os.path.join(ROOT, 'data', 'sample')
FILES = {
    'obs': 'ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz',
    'crx': 'ESBC00DNK_R_20201770000_02H_30S_MO.crx.gz',
    'sp3-before': 'GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz',
    'sp3': 'GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz',
    'clk': 'GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz',
    'atx': 'ESBC_receiver_antenna.atx',
    'nav': 'ESBC00DNK_R_20201770000_02H_MN.rnx.gz',
}


def read(role):
    """The content of one sample file, decompressed."""
    name = FILES[role]
    opener = gzip.open if name.endswith('.gz') else open
    with opener(os.path.join(SAMPLE_DIR, name), 'rb') as f:
        return f.read()


def write_plain(work):
    """Decompressed copies of every sample file in work (so that a build
    without zlib reads them too): {role: path}."""
    paths = {}
    for role, name in FILES.items():
        paths[role] = os.path.join(work, name[:-3] if name.endswith('.gz') else name)
        with open(paths[role], 'wb') as f:
            f.write(read(role))
    return paths


def ppprun_inputs(paths, observations='obs'):
    """ppprun's input options for the files in paths, the observations
    taken from the role `observations`."""
    return ['--obs', paths[observations], '--sp3', paths['sp3-before'], '--sp3', paths['sp3'],
            '--clk', paths['clk'], '--atx', paths['atx']]


def write_streams(rnx2rtcm, paths, work, emulator=()):
    """The sample as recorded RTCM 3 streams, made by rnx2rtcm:
    (observation stream, correction stream)."""
    import subprocess
    obs, corr = os.path.join(work, 'sample_obs.rtcm3'), os.path.join(work, 'sample_corr.rtcm3')
    subprocess.run(list(emulator) + [rnx2rtcm, '--obs', paths['obs'], '--nav', paths['nav'],
                    '--sp3', paths['sp3-before'], '--sp3', paths['sp3'], '--clk', paths['clk'],
                    '--atx', paths['atx'], '--out', obs, '--out-corr', corr],
                   check=True, capture_output=True)
    return obs, corr


def ppprun_stream_inputs(paths, streams):
    """ppprun's input options for the sample's streams."""
    return ['--rtcm', streams[0], '--rtcm-corr', streams[1], '--atx', paths['atx']]
