"""A password service of the test's own: the program's real one, with a file of passwords for the system's."""

import getpass
import sysconfig

_MODULES = f"/usr/lib/{sysconfig.get_config_var('MULTIARCH')}/pam_wrapper"


class PasswordService:
    """Give `environment` to the program; it then knows one user, who runs the test, by one password."""

    def __init__(self, desktop, password):
        folder = desktop.folder / "pam"
        folder.mkdir(mode=0o700)
        passwords = folder / "passwords"
        passwords.write_text(f"{getpass.getuser()}:{password}:vellumix\n")
        (folder / "vellumix").write_text(f"auth required {_MODULES}/pam_matrix.so passdb={passwords}\n"
                                         "account required pam_permit.so\n")
        self.environment = {"LD_PRELOAD": "libpam_wrapper.so", "PAM_WRAPPER": "1",
                            "PAM_WRAPPER_SERVICE_DIR": str(folder)}
