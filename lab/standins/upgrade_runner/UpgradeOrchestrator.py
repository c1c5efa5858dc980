"""What a migration of the update manager starts in place of UpgradeRunner.py. It plays the same."""

import UpgradeRunner

if __name__ == '__main__':
    UpgradeRunner.main()
