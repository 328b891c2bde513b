# Series 1: 20-character firmware containing "VKT11", encoder, no smart card; a monochrome ribbon with a remaining count of 0.
model = VKTS1
firmware = VKT11-M V1.01.07.002
serial = S01000001
head_resistance = 2950
panels_printed = 1234
printer_errors = 0
ribbon_code = 1
ribbon_remaining = 0
ribbon_capacity = 1000
encoder = yes
